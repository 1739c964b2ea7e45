// The capacity of the user's disk: one PROPFIND of three vendor properties of the root.
#pragma once

#include <string>

#include "common/result_code.h"
#include "protocol/quota_parser.h"
#include "protocol/server_session.h"

namespace qbrk {

// 0 with the figures; 1 when cancelled before the status is read; a 2xx other than 207 or
// any unmapped failure gives 54.
ResultCode QueryQuota(ServerSession& session, const std::string& root, QuotaFigures* figures);

// The request body, with the vendor namespace bound to the prefix F.
std::string QuotaRequestBody();

}  // namespace qbrk
