// The process-wide count of running worker threads. Every job counts itself as its first
// step and uncounts itself on every path by which it ends; qbrkOnDestroy waits (up to about
// 900 seconds) until the count is 0 before it tears the library down.
#pragma once

#include <cstdint>

namespace qbrk {

int32_t RunningJobCount();
void CountJobStarted();
void CountJobEnded();

// Counts a job for the scope's life, so that no early return forgets to uncount it.
class RunningJobScope {
 public:
  RunningJobScope() { CountJobStarted(); }
  ~RunningJobScope() { CountJobEnded(); }
  RunningJobScope(const RunningJobScope&) = delete;
  RunningJobScope& operator=(const RunningJobScope&) = delete;
};

}  // namespace qbrk
