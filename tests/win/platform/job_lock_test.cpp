#include "platform/win32/job_lock.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace qbrk {
namespace {

TEST(JobLockTest, GuardsOutsideTheLocksLifeDoNothingAndRepeatsAreHarmless) {
  DeleteJobLock();
  EXPECT_FALSE(JobLockExists());
  { JobLockGuard unguarded; }  // before qbrkOnInit: must not crash or block
  InitJobLock();
  InitJobLock();
  EXPECT_TRUE(JobLockExists());
  {
    JobLockGuard outer;
    JobLockGuard inner;  // a critical section may be re-entered by its owner
  }
  DeleteJobLock();
  DeleteJobLock();
  EXPECT_FALSE(JobLockExists());
  { JobLockGuard after_destroy; }
}

struct Contended {
  int counter = 0;
};

DWORD WINAPI AddUnderLock(void* parameter) {
  auto* shared = static_cast<Contended*>(parameter);
  for (int i = 0; i < 5000; ++i) {
    JobLockGuard lock;
    // A read, now and then a pause, and a write: without the lock, whatever the other
    // thread adds during the pause is lost.
    const int seen = shared->counter;
    if (i % 50 == 0) Sleep(1);
    shared->counter = seen + 1;
  }
  return 0;
}

TEST(JobLockTest, ExcludesOtherThreads) {
  InitJobLock();
  Contended shared;
  HANDLE threads[2];
  for (HANDLE& thread : threads)
    thread = CreateThread(nullptr, 0, &AddUnderLock, &shared, 0, nullptr);
  ASSERT_NE(threads[0], nullptr);
  ASSERT_NE(threads[1], nullptr);
  EXPECT_EQ(WaitForMultipleObjects(2, threads, TRUE, 30000), WAIT_OBJECT_0);
  for (HANDLE thread : threads)
    CloseHandle(thread);
  EXPECT_EQ(shared.counter, 10000);
  DeleteJobLock();
}

}  // namespace
}  // namespace qbrk
