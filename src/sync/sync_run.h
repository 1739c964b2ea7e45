// The synchronization's own steps between connecting and ending, as the synchronize job
// runs them: the trees, the plan, the answers, the two walks and the table file. The job
// adds its dialog messages around them.
#pragma once

#include <functional>
#include <string>

#include "common/result_code.h"
#include "sync/sync_context.h"
#include "sync/sync_statistics.h"
#include "sync/sync_table.h"

namespace qbrk {

// The table file's path in a data folder.
std::string TableFilePath(const std::string& data_folder);

// Scans the mirror folder and the user's disk, reads the record (once for each half, so that
// the local half's marks do not reach the server half) and plans into `plan`; `recorded`
// keeps the record for execution. 0; 1 when the job was stopped; or the failing step's code.
ResultCode BuildPlan(SyncContext& context, SyncTable* recorded, SyncTable* plan);

// The two walks over a resolved plan: every deletion first, then creations and transfers.
ResultCode ExecuteResolvedPlan(SyncContext& context, SyncTable* recorded, SyncTable* plan);

// A whole synchronization without a dialog of its own: BuildPlan (unless `plan` already holds
// one, handed over with its record), ResolveChoices, `on_resolved` (may be empty), the two
// walks, and the table file written after success and after failure alike, once planning has
// succeeded (but not when the dialog went away before execution began). 0, 1 or the first
// failure's code.
ResultCode RunSynchronization(SyncContext& context, SyncTable* recorded, SyncTable* plan,
                              SyncStatistics* statistics,
                              const std::function<void(const SyncStatistics&)>& on_resolved = {});

}  // namespace qbrk
