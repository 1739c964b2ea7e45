#include "protocol/quota.h"

#include "protocol/operation_guard.h"
#include "protocol/result_mapping.h"
#include "protocol/service.h"

namespace qbrk {

std::string QuotaRequestBody() {
  return std::string(
             "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
             "<D:propfind xmlns:D=\"DAV:\">"
             "<D:prop xmlns:F=\"") +
         kVendorNamespace +
         "\"><F:getquotasize/><F:getusedsize/><F:getfreesize/></D:prop></D:propfind>";
}

ResultCode QueryQuota(ServerSession& session, const std::string& root, QuotaFigures* figures) {
  constexpr ResultCode kOwn = result::kQuotaFailed;
  return GuardAllocation(session, kOwn, [&] {
    if (!session.OpenRequest("PROPFIND", root)) return session.OpenFailure(kOwn);
    ResultCode r =
        session.AddHeader("Depth: 0\r\n") ? session.SendBody(QuotaRequestBody(), kOwn) : kOwn;
    if (r == result::kSuccess && session.IsCancelled()) r = result::kCancelled;
    if (r == result::kSuccess) r = OrOwn(session.ReadStatus(), kOwn);
    if (r == result::kSuccess && session.last_status() != 207) r = kOwn;
    XmlDocument doc;
    if (r == result::kSuccess) r = session.ReadXmlBody(&doc, kOwn);
    session.CloseRequest();
    if (r != result::kSuccess) return r;
    QuotaFigures read;
    if (!ReadQuota(doc, &read)) return kOwn;
    *figures = read;
    return result::kSuccess;
  });
}

}  // namespace qbrk
