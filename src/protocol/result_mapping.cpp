#include "protocol/result_mapping.h"

#include "platform/http_transport.h"

namespace qbrk {

ResultCode MapHttpStatus(uint32_t status) {
  if (status >= 200 && status <= 299) return result::kSuccess;
  switch (status) {
    case 401:
      return result::kAuthFailed;
    case 404:
    case 409:
      return result::kNotFound;
    case 414:
      return result::kNameTooLong;
    case 423:
      return result::kLockedByOther;
    case 503:
      return result::kServerBusy;
    case 507:
      return result::kServerDiskFull;
    default:
      return result::kGeneralFailure;
  }
}

ResultCode MapNetworkErrorNumber(SysError error) {
  switch (error) {
    case net_error::kTimeout:
      return result::kTimeout;
    case net_error::kNameNotResolved:
    case net_error::kCannotConnect:
      return result::kCannotConnect;
    case net_error::kConnectionAborted:
    case net_error::kConnectionReset:
      return result::kConnectionBroken;
    default:
      return result::kGeneralFailure;
  }
}

}  // namespace qbrk
