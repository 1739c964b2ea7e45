// How HTTP statuses and network failures become the library's result codes.
#pragma once

#include <cstdint>

#include "common/result_code.h"
#include "platform/sys_error.h"

namespace qbrk {

// 2xx → 0, 401 → 75, 404 and 409 → 73, 414 → 72, 423 → 77, 503 → 80, 507 → 71, else 500.
ResultCode MapHttpStatus(uint32_t status);

// 12002 → 79, 12007 and 12029 → 74, 12030 and 12031 → 78, else 500.
ResultCode MapNetworkErrorNumber(SysError error);

// The general failure 500 replaced by an operation's own code.
constexpr ResultCode OrOwn(ResultCode code, ResultCode own) {
  return code == result::kGeneralFailure ? own : code;
}

}  // namespace qbrk
