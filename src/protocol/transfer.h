// Moving file content: download through a temporary file, upload whole or in ranges under a
// lock. Both post progress (1079, the block's byte count) and wait for the dialog after every
// block, and poll for cancellation there.
#pragma once

#include <string>

#include "common/result_code.h"
#include "platform/file_system.h"
#include "protocol/server_session.h"

namespace qbrk {

// GET `path` into the local file `local_path`, which is replaced only once the whole body
// has arrived (a file held open elsewhere stays as it was: 94). With `item`, it receives the
// name, attributes 128, Content-Length and X-Last-Modified (missing: 44).
// Codes: 44 for the unmapped, 52 when the request cannot be sent, 91/93/94/98 for local
// failures (path too long, disk full, file in use, old copy not deletable).
ResultCode Download(ServerSession& session, const std::string& path, const std::string& local_path,
                    FindData* item);

// PUT the local file at `path`. A file larger than the upload unit goes in ranges of the unit
// under a lock recorded in the "LockToken" setting until it is released. A 423 releases this
// user's own lock and starts the upload again from the beginning.
// Codes: 43 for the unmapped or an unreadable file, 51 when a request cannot be sent, 94 for
// a file in use, the lock's codes.
ResultCode Upload(ServerSession& session, const std::string& local_path, const std::string& path);

}  // namespace qbrk
