// The job lock: one process-wide critical section that guards the link between every job
// and its dialog. qbrkOnInit makes it and qbrkOnDestroy deletes it.
//
// Outside that span (before InitJobLock, after DeleteJobLock) a guard does not lock at all:
// a host that forgot qbrkOnInit gets unguarded links rather than a crash on a critical
// section that does not exist. Repeated InitJobLock or DeleteJobLock calls do nothing.
#pragma once

namespace qbrk {

void InitJobLock();
// Call only when no job can still be inside the lock (qbrkOnDestroy waits for them first).
void DeleteJobLock();
bool JobLockExists();

// Holds the job lock for its scope (or nothing, outside the lock's life).
class JobLockGuard {
 public:
  JobLockGuard();
  ~JobLockGuard();
  JobLockGuard(const JobLockGuard&) = delete;
  JobLockGuard& operator=(const JobLockGuard&) = delete;

 private:
  bool locked_;
};

}  // namespace qbrk
