// How qbrkOnDestroy waits for running jobs before the library goes away: it looks at the
// running job count, and while jobs are left it sleeps a second and looks again, at most
// 901 looks (about 900 seconds). Jobs are never stopped, only waited for.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/clock.h"

namespace qbrk {

inline constexpr uint32_t kJobPollMs = 1000;
inline constexpr int kMaxJobLooks = 901;

// True when the count reached 0, false when the looks ran out first.
bool WaitForJobsToEnd(Clock& clock, const std::function<int32_t()>& running_jobs);

}  // namespace qbrk
