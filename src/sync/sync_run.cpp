#include "sync/sync_run.h"

#include "protocol/server_session.h"
#include "sync/execution.h"
#include "sync/planning.h"
#include "sync/table_format.h"

namespace qbrk {

namespace {

// Each side is planned while it is scanned, so that a large disk is held as a whole tree
// only once: as the record. Each half starts from the record as loaded, so that the marks of
// the local half do not leak into the server half.
ResultCode PlanBothSides(SyncContext& context, SyncTable* recorded, SyncTable* plan) {
  // A missing or unreadable record leaves the tree empty: everything counts as new.
  recorded->LoadTableFile(context.table_path);
  {
    SyncTable local(context.env);
    if (ResultCode r = ScanAndPlanLocalSide(&local, context.mirror, recorded, plan)) return r;
    if (context.IsCancelled()) return result::kCancelled;
  }
  recorded->ReplaceRoot(nullptr);
  recorded->LoadTableFile(context.table_path);
  {
    SyncTable server(context.env, context.session);
    if (ResultCode r = ScanAndPlanServerSide(&server, recorded, plan)) return r;
    if (context.IsCancelled()) return result::kCancelled;
  }
  if (ResultCode r = MergeMarks(plan)) return r;
  return LeaveOutTypeClashes(plan, context.session->disk_root());
}

}  // namespace

std::string TableFilePath(const std::string& data_folder) {
  return data_folder + "\\" + kTableFileName;
}

ResultCode BuildPlan(SyncContext& context, SyncTable* recorded, SyncTable* plan) {
  if (!recorded || !plan || !context.session) return result::kGeneralFailure;
  const ResultCode r = PlanBothSides(context, recorded, plan);
  // A plan cut short must never pass for one that can be executed or handed over.
  if (r != result::kSuccess) plan->ReplaceRoot(nullptr);
  return r;
}

ResultCode ExecuteResolvedPlan(SyncContext& context, SyncTable* recorded, SyncTable* plan) {
  const std::string& server_root = context.session ? context.session->disk_root() : "";
  ResultCode r =
      ExecutePlan(&context, context.mirror, server_root, plan, recorded, kPassDeletions);
  if (r == result::kSuccess)
    r = ExecutePlan(&context, context.mirror, server_root, plan, recorded, kPassTransfers);
  return r;
}

ResultCode RunSynchronization(SyncContext& context, SyncTable* recorded, SyncTable* plan,
                              SyncStatistics* statistics,
                              const std::function<void(const SyncStatistics&)>& on_resolved) {
  if (!recorded || !plan || !statistics) return result::kGeneralFailure;
  if (!plan->root()) {
    if (ResultCode r = BuildPlan(context, recorded, plan)) return r;
  }
  recorded->set_connection(context.session);
  if (!recorded->EnsureRoot()) return result::kGeneralFailure;
  if (context.IsCancelled()) return result::kCancelled;
  ResultCode r = ResolveChoices(&context, plan, statistics);
  if (r != result::kSuccess && context.IsCancelled()) {
    // The dialog went away during the questions: nothing was executed, nothing is written.
    return r;
  }
  if (r == result::kSuccess) {
    if (on_resolved) on_resolved(*statistics);
    r = ExecuteResolvedPlan(context, recorded, plan);
  }
  recorded->SaveTableFile(context.table_path);
  return r;
}

}  // namespace qbrk
