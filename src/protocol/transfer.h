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
// has arrived, and in one step (a file held open elsewhere stays as it was: 94). With `item`,
// it receives the name, attributes 128, Content-Length and X-Last-Modified (missing: 44).
// Codes: 44 for the unmapped, 52 when the request cannot be sent, 91/93/94/98 for local
// failures (path too long, disk full, file in use, old copy gone or not replaceable).
ResultCode Download(ServerSession& session, const std::string& path, const std::string& local_path,
                    FindData* item);

// The two halves of Download, for a caller that checks the local file in between.
// GET `path` into a fresh temporary file named in `*temp_path`, which is removed again on
// failure. Codes as Download, without the placing ones.
ResultCode DownloadToTemp(ServerSession& session, const std::string& path, std::string* temp_path,
                          FindData* item);

enum class Placement {
  kReplace,        // whatever is at the target is replaced
  kOnlyIfAbsent,   // a file that appeared at the target is never overwritten
};

// Puts a finished download at `local_path`. The temporary file first becomes a hidden
// staging file beside the target (copied when the two lie on different volumes), then takes
// the target's place in one step, so the target is at every moment the old file or the
// complete new one, never neither. A read-only target is replaced too. With kOnlyIfAbsent a
// target that exists is left alone and `*occupied` set (result 0). The temporary and staging
// files are removed on every failure. 0, or 91/93/94/98/44 as Download.
ResultCode InstallDownload(FileSystem& files, const std::string& temp_path,
                           const std::string& local_path, Placement placement,
                           bool* occupied = nullptr);

// PUT the local file at `path`. A file larger than the upload unit goes in ranges of the unit
// under a lock recorded in the "LockToken" setting until it is released. A 423 releases this
// user's own lock and starts the upload again from the beginning.
// Codes: 43 for the unmapped or an unreadable file, 51 when a request cannot be sent, 94 for
// a file in use, the lock's codes.
ResultCode Upload(ServerSession& session, const std::string& local_path, const std::string& path);

}  // namespace qbrk
