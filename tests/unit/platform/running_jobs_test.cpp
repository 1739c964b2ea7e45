#include "platform/running_jobs.h"

#include <gtest/gtest.h>

namespace qbrk {
namespace {

int32_t RunJobThatEndsEarly(bool fail_at_once) {
  RunningJobScope running;
  if (fail_at_once) return RunningJobCount();
  return RunningJobCount() * 10;
}

TEST(RunningJobsTest, EveryPathOfAJobUncountsIt) {
  const int32_t before = RunningJobCount();
  EXPECT_EQ(RunJobThatEndsEarly(true), before + 1);
  EXPECT_EQ(RunningJobCount(), before);
  EXPECT_EQ(RunJobThatEndsEarly(false), (before + 1) * 10);
  EXPECT_EQ(RunningJobCount(), before);
  {
    RunningJobScope outer;
    RunningJobScope inner;
    EXPECT_EQ(RunningJobCount(), before + 2);
  }
  EXPECT_EQ(RunningJobCount(), before);
  CountJobStarted();
  EXPECT_EQ(RunningJobCount(), before + 1);
  CountJobEnded();
  EXPECT_EQ(RunningJobCount(), before);
}

}  // namespace
}  // namespace qbrk
