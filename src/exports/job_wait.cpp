#include "exports/job_wait.h"

namespace qbrk {

bool WaitForJobsToEnd(Clock& clock, const std::function<int32_t()>& running_jobs) {
  for (int look = 1;; ++look) {
    if (running_jobs() == 0) return true;
    if (look == kMaxJobLooks) return false;
    clock.Sleep(kJobPollMs);
  }
}

}  // namespace qbrk
