// WebDAV write locks: they guard an upload in ranges, and let a later run release a lock
// that an interrupted one left behind. A lock is this user's own when its owner text equals
// the session's own owner byte for byte.
#pragma once

#include <string>

#include "common/result_code.h"
#include "protocol/lock_parser.h"
#include "protocol/server_session.h"

namespace qbrk {

// LOCK (exclusive, write, Depth 0, "Timeout: Second-" + LockTimeOut). A 423 releases this
// user's own lock and asks again. 0 with the token (200), 0 without one (another 2xx), or
// a code; 48 for the unmapped.
ResultCode Lock(ServerSession& session, const std::string& path, std::string* token);

// UNLOCK; 204, 412 and 424 count as success (a lock that is gone is no error); 49 for the
// unmapped.
ResultCode Unlock(ServerSession& session, const std::string& path, const std::string& token);

// The active lock of `path` (PROPFIND Depth 0). 0 with owner and token ("" when missing);
// any status but 207 gives 55.
ResultCode DiscoverLock(ServerSession& session, const std::string& path, ActiveLock* lock);

// Unlocks the lock of `path` when it is this user's; 0 also when it is someone else's (the
// caller then repeats its request).
ResultCode ReleaseOwnLock(ServerSession& session, const std::string& path);

// Unlocks every lock of this user below `root` (the disk root with its trailing "/";
// PROPFIND Depth infinity). Any status but 207 gives 57.
ResultCode ReleaseOwnLocksOnDisk(ServerSession& session, const std::string& root);

// The lock an interrupted upload saved in the settings ("LockToken"): when the server no
// longer has a lock there the record is deleted; when it has the same token, the lock is
// unlocked and the record deleted; another token, or a failed discovery, leaves all as is.
void ReleaseSavedLock(ServerSession& session);

}  // namespace qbrk
