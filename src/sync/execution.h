// Execution of a resolved plan: deletions, folder creations and transfers, one entry at a
// time. After every action that succeeds the recorded tree is changed to match, and it is
// never rolled back, so that it always describes what is really in step; the caller saves it
// after success and after failure alike, and execution itself saves it at checkpoints.
//
// The job walks the same trees twice: first with pass mask 24 (every deletion of the whole
// tree), then, if that succeeded, with pass mask 231 (folder creations and transfers). An
// entry that is done is marked MARK_DONE, so a later walk passes it by.
#pragma once

#include <cstdint>
#include <string>

#include "common/result_code.h"
#include "sync/sync_context.h"
#include "sync/sync_table.h"

namespace qbrk {

inline constexpr uint32_t kPassDeletions = 24;
inline constexpr uint32_t kPassTransfers = 231;
// The record is written at least this often while execution runs.
inline constexpr uint32_t kCheckpointMilliseconds = 10000;

// Carries out `plan` below the local folder `local_root` (no trailing backslash) and the
// server folder `server_root` (with its trailing "/"), changing `recorded` as it goes.
// 0; 1 when the job was stopped; 500 for a missing argument or root; else the failing
// step's code, with the entry's name in the context's error name.
//
// A local file whose time or size is no longer what the scan saw is neither replaced by a
// download nor deleted: the entry is left undone with its record as it was, and the run goes
// on (the next run sees the change and plans it).
ResultCode ExecutePlan(SyncContext* context, const std::string& local_root,
                       const std::string& server_root, SyncTable* plan, SyncTable* recorded,
                       uint32_t pass_mask);

}  // namespace qbrk
