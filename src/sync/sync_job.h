// The synchronize job: the worker of the synchronize dialog. It resolves the mirror folder,
// connects, plans (or takes the plan the sync list handed over), lets the user decide what
// the rules leave open, executes, writes the table file, and tells the dialog each step
// through the record's link:
//
//   1083 phase 0 and 1 (the connection), 1085 / 1090 (options, sign-in) when needed,
//   1083 phase 2, 1086 to 1088 (questions), 1077 (statistics), 1075, 1079 (progress),
//   then 1076 (completed) or 1078 (failed, with the code; 1 shows nothing).
//
// A vanished mirror folder is put to the dialog first (1084). A dialog that closed or was
// cancelled gets nothing more: the job stops at its next test and ends quietly.
#pragma once

#include <memory>

#include "common/result_code.h"
#include "platform/env.h"
#include "protocol/server_connection.h"
#include "sync/job_record.h"
#include "sync/sync_statistics.h"

namespace qbrk {

// Runs the job to its end and frees the record with everything it carries, on every path.
// `statistics` (may be null) receives the resolved counts. Returns 0 when the
// synchronization completed, 1 when it was cancelled or the dialog went away, or the failing
// step's code.
ResultCode RunSynchronizeJob(Env& env, NetPlatform net, ConnectionUi ui,
                             std::unique_ptr<JobRecord> record,
                             SyncStatistics* statistics = nullptr);

}  // namespace qbrk
