#include "sync/sync_job.h"

#include <new>
#include <stdexcept>

#include "diag/error_log.h"
#include "platform/running_jobs.h"
#include "protocol/worker_messages.h"
#include "settings/settings.h"
#include "sync/job_context.h"
#include "sync/job_messages.h"
#include "sync/sync_run.h"

namespace qbrk {

namespace {

// The trees one run works on: those the record carries when it hands over a plan, else
// fresh ones of the job's own.
struct RunTrees {
  explicit RunTrees(JobContext& job) : own_recorded(job.env()), own_plan(job.env()) {
    JobRecord& record = job.record();
    const bool handed_over = record.recorded && record.plan && record.plan->root();
    recorded = handed_over ? record.recorded.get() : &own_recorded;
    plan = handed_over ? record.plan.get() : &own_plan;
  }
  SyncTable own_recorded;
  SyncTable own_plan;
  SyncTable* recorded;
  SyncTable* plan;
};

void PrepareLogs(Env& env) {
  Settings settings(env.registry, env.clock);
  SetLoggingLevel(settings.PutLog());
  if (LoggingLevel() != 0) RotateLogs(env.files);
}

// Tells the dialog how the run ended. A cancelled or closed dialog hears nothing.
void PostOutcome(JobContext& job, ResultCode outcome) {
  JobRecord& record = job.record();
  if (outcome == result::kSuccess) {
    record.Post(job_message::kCompleted);
    return;
  }
  if (record.error_name) *record.error_name = job.sync().error_name;
  record.Post(job_message::kFailed, outcome);
}

ResultCode Synchronize(JobContext& job, SyncStatistics* statistics) {
  JobRecord& record = job.record();
  // Without a mirror folder the user has already been told (or chose to stop): nothing more
  // is said.
  if (!job.PrepareFolders(true)) return result::kCancelled;
  if (record.link && !record.IsAttached()) return result::kCancelled;

  if (ResultCode r = job.Connect()) {
    PostOutcome(job, r);
    return r;
  }
  record.Post(worker_message::kStatus, status_index::kCollecting);

  RunTrees trees(job);
  const ResultCode r = RunSynchronization(
      job.sync(), trees.recorded, trees.plan, statistics, [&](const SyncStatistics& counted) {
        record.Post(job_message::kResolved, reinterpret_cast<uintptr_t>(&counted));
        record.Post(job_message::kExecutionBegins);
      });
  PostOutcome(job, r);
  return r;
}

}  // namespace

ResultCode RunSynchronizeJob(Env& env, NetPlatform net, ConnectionUi ui,
                             std::unique_ptr<JobRecord> record, SyncStatistics* statistics) {
  RunningJobScope counted;
  if (!record) return result::kGeneralFailure;
  SyncStatistics own_statistics;
  if (!statistics) statistics = &own_statistics;
  ResultCode outcome = result::kGeneralFailure;
  try {
    PrepareLogs(env);
    // The context ends before the record: the connection closes (and may offer to hang up)
    // while the dialog is still linked.
    JobContext job(env, net, std::move(ui), *record);
    try {
      outcome = Synchronize(job, statistics);
    } catch (const std::bad_alloc&) {
      outcome = result::kNoMemory;
      PostOutcome(job, outcome);
    } catch (const std::length_error&) {
      outcome = result::kNoMemory;
      PostOutcome(job, outcome);
    }
  } catch (...) {
    // Nothing may leave a worker; a dialog still waiting is released when its link ends.
    outcome = result::kGeneralFailure;
  }
  return outcome;
}

}  // namespace qbrk
