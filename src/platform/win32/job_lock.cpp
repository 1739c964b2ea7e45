#include "platform/win32/job_lock.h"

#include <windows.h>

#include <atomic>

namespace qbrk {

namespace {

enum State : int { kAbsent, kChanging, kReady };

CRITICAL_SECTION g_section;
// kChanging keeps a guard from entering a section that is being made or deleted.
std::atomic<int> g_state{kAbsent};

}  // namespace

void InitJobLock() {
  int expected = kAbsent;
  if (!g_state.compare_exchange_strong(expected, kChanging)) return;
  InitializeCriticalSection(&g_section);
  g_state.store(kReady);
}

void DeleteJobLock() {
  int expected = kReady;
  if (!g_state.compare_exchange_strong(expected, kChanging)) return;
  DeleteCriticalSection(&g_section);
  g_state.store(kAbsent);
}

bool JobLockExists() {
  return g_state.load() == kReady;
}

JobLockGuard::JobLockGuard() : locked_(g_state.load() == kReady) {
  if (locked_) EnterCriticalSection(&g_section);
}

JobLockGuard::~JobLockGuard() {
  if (locked_) LeaveCriticalSection(&g_section);
}

}  // namespace qbrk
