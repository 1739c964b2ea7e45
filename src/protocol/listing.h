// Listing a folder of the user's disk (PROPFIND, Depth 1).
#pragma once

#include <string>

#include "common/result_code.h"
#include "protocol/listing_parser.h"
#include "protocol/server_session.h"

namespace qbrk {

// Lists the folder `path` (a server path with its trailing "/"). `*listing` points at the
// listing the session keeps for `path` (a second call answers from it without a request),
// or is null when there is none: an empty folder, or a 2xx answer other than 207.
// 0, 1 (cancelled), 2 (no memory), a mapped status or network failure, or 53.
ResultCode ListFolder(ServerSession& session, const std::string& path, const Listing** listing);

}  // namespace qbrk
