// The small WebDAV operations on one resource of the user's disk. Paths are server paths in
// the server's form; only "%" and "#" are escaped on the way out.
#pragma once

#include <cstdint>
#include <string>

#include "common/result_code.h"
#include "platform/file_system.h"
#include "protocol/server_session.h"

namespace qbrk {

// HEAD: name (the path's last segment), attributes 128, size from Content-Length and time
// from X-Last-Modified. A missing header or an unreadable date gives 500 as it is (the one
// operation without its own code); a time-out gives 78.
ResultCode FileStatus(ServerSession& session, const std::string& path, FindData* item);

// HEAD: the size from Content-Length; 56 for the unmapped or a missing header.
ResultCode QuerySize(ServerSession& session, const std::string& path, uint64_t* size);

// PROPPATCH of getlastmodified; a 423 releases this user's own lock and asks again.
// 45 for the unmapped.
ResultCode SetLastModified(ServerSession& session, uint64_t file_time, const std::string& path);

// MKCOL; 42 for the unmapped.
ResultCode MakeFolder(ServerSession& session, const std::string& path);

// DELETE; a 423 releases this user's locks on the whole disk and asks again. 41 for the
// unmapped.
ResultCode DeleteResource(ServerSession& session, const std::string& path);

// Deletes every member of the folder `path` (with its trailing "/"), as a Depth 1 listing of
// getlastmodified names them; stops at the first failed DELETE and returns its code. 47 when
// the listing fails unmapped, 1 when cancelled.
ResultCode EmptyFolder(ServerSession& session, const std::string& path);

}  // namespace qbrk
