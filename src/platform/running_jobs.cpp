#include "platform/running_jobs.h"

#include <atomic>

namespace qbrk {

namespace {
// A plain counter, not an interlocked one: the command guard lets only one command (and so
// one job) run at a time. The atomic with relaxed loads and stores only makes the read from
// the host's thread well defined; the increment itself stays a load and a store.
std::atomic<int32_t> g_running{0};
}  // namespace

int32_t RunningJobCount() {
  return g_running.load(std::memory_order_relaxed);
}

void CountJobStarted() {
  g_running.store(g_running.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

void CountJobEnded() {
  g_running.store(g_running.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
}

}  // namespace qbrk
