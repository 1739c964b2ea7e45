#include "exports/command_guard.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "exports/job_wait.h"
#include "platform/memory/fake_clock.h"

namespace qbrk {
namespace {

using Log = std::vector<std::string>;

class LoggingMutex final : public CommandMutex {
 public:
  explicit LoggingMutex(Log& log) : log_(log) {}
  bool Acquire(uint32_t timeout_ms) override {
    log_.push_back("wait " + std::to_string(timeout_ms));
    return available_;
  }
  void Release() override { log_.push_back("release"); }
  bool available_ = true;

 private:
  Log& log_;
};

class LoggingHost final : public HostWindow {
 public:
  explicit LoggingHost(Log& log) : log_(log) {}
  bool SendCommand(uint32_t id, intptr_t value) override {
    if (present_) log_.push_back("send " + std::to_string(id) + " " + std::to_string(value));
    return present_;
  }
  bool PostCommand(uint32_t id, intptr_t value) override {
    if (present_) log_.push_back("post " + std::to_string(id) + " " + std::to_string(value));
    return present_;
  }
  bool present_ = true;

 private:
  Log& log_;
};

class CommandGuardTest : public ::testing::Test {
 protected:
  uint32_t Run(ExportId id, uintptr_t host_value = 0, uintptr_t owner = 0, uint32_t result = 7) {
    return guard_.Run(id, host_value, owner, [this, result] {
      log_.push_back("command");
      return result;
    });
  }

  Log log_;
  LoggingMutex mutex_{log_};
  LoggingHost host_{log_};
  KeptHostArguments kept_;
  CommandGuard guard_{mutex_, host_, kept_};
};

TEST_F(CommandGuardTest, OnlyTheFourQueriesGoUnguardedAndBusyAnswersTwoOnlyWhereTwoMeansBusy) {
  const std::set<std::string> unguarded = {"qbrkGetMirrorFolderPath", "qbrkGetMirrorFolderPathEx",
                                           "qbrkMsgBox", "qbrkViewHomePage"};
  const std::set<std::string> answer_two = {"qbrkOnInit", "qbrkOnDestroy",
                                            "qbrkSeparateFileTransfer"};
  ASSERT_EQ(AllExportRules().size(), 17u);
  mutex_.available_ = false;
  for (const ExportRule& rule : AllExportRules()) {
    SCOPED_TRACE(rule.name);
    EXPECT_EQ(&RuleOf(rule.id), &rule);
    EXPECT_EQ(rule.guarded, !unguarded.contains(rule.name));
    if (!rule.guarded) continue;
    log_.clear();
    EXPECT_EQ(Run(rule.id), answer_two.contains(rule.name) ? 2u : 0u);
    // Silent: the command did not run, the host heard nothing, nothing was released.
    EXPECT_EQ(log_, Log{"wait 1000"});
  }
}

TEST_F(CommandGuardTest, CommandRunsBetweenBusyAndIdleAndTheMutexGoesBackBeforeIdle) {
  EXPECT_EQ(Run(ExportId::kSynchronize, 0, 0, 1), 1u);
  EXPECT_EQ(log_, (Log{"wait 1000", "send 32779 1", "command", "release", "send 32779 0"}));
}

TEST_F(CommandGuardTest, IdleIsSentOnlyToAHostThatWasThereWhenTheCommandStarted) {
  host_.present_ = false;
  EXPECT_EQ(guard_.Run(ExportId::kOnInit, 0, 0,
                       [this] {
                         host_.present_ = true;  // the host window appears meanwhile
                         return 0u;
                       }),
            0u);
  EXPECT_EQ(log_, (Log{"wait 1000", "release"}));

  log_.clear();
  EXPECT_EQ(guard_.Run(ExportId::kOnInit, 0, 0,
                       [this] {
                         host_.present_ = false;
                         return 0u;
                       }),
            0u);
  EXPECT_EQ(log_, (Log{"wait 1000", "send 32779 1", "release"}));
}

TEST_F(CommandGuardTest, ThrowingCommandStillReleasesAndTellsTheHost) {
  EXPECT_THROW(guard_.Run(ExportId::kPublishFolder, 0, 0,
                          []() -> uint32_t { throw std::runtime_error("dialog failed"); }),
               std::runtime_error);
  EXPECT_EQ(log_, (Log{"wait 1000", "send 32779 1", "release", "send 32779 0"}));
  // The next command is not locked out.
  log_.clear();
  EXPECT_EQ(Run(ExportId::kPublishFolder), 7u);
  EXPECT_EQ(log_.back(), "send 32779 0");
}

TEST_F(CommandGuardTest, HostArgumentsAreKeptFromTheFirstNonZeroValueEvenWhenBusy) {
  Run(ExportId::kOnInit, 0, 0);
  EXPECT_EQ(kept_.host_value(), 0u);
  EXPECT_EQ(kept_.owner(), 0u);
  mutex_.available_ = false;
  Run(ExportId::kSynchronize, 0x11, 0);  // busy, yet kept: keeping comes before the wait
  mutex_.available_ = true;
  Run(ExportId::kSeparateFileTransfer, 0, 0x22);
  Run(ExportId::kOnDestroy, 0x33, 0x44);
  Run(ExportId::kOnDestroy, 0, 0);
  EXPECT_EQ(kept_.host_value(), 0x11u);
  EXPECT_EQ(kept_.owner(), 0x22u);
  EXPECT_EQ(kept_.OwnerFor(0), 0x22u);
  EXPECT_EQ(kept_.OwnerFor(0x55), 0x55u);

  KeptHostArguments fresh;
  CommandGuard other(mutex_, host_, fresh);
  other.Run(ExportId::kUpdate, 0x66, 0x77, [] { return 1u; });
  other.Run(ExportId::kMsgBox, 0x66, 0x77, [] { return 1u; });
  EXPECT_EQ(fresh.host_value(), 0u);
  EXPECT_EQ(fresh.owner(), 0u);
}

TEST(JobWaitTest, LooksOncePerSecondUntilNoJobIsLeftAndGivesUpAfter901Looks) {
  struct Case {
    int32_t jobs_end_after_looks;  // the count reads 0 from this look on; 0: never
    bool ended;
    int looks;
  };
  for (const Case& c :
       {Case{1, true, 1}, Case{3, true, 3}, Case{901, true, 901}, Case{0, false, 901}}) {
    SCOPED_TRACE(c.jobs_end_after_looks);
    FakeClock clock;
    int looks = 0;
    const bool ended = WaitForJobsToEnd(clock, [&] {
      ++looks;
      return c.jobs_end_after_looks != 0 && looks >= c.jobs_end_after_looks ? 0 : 2;
    });
    EXPECT_EQ(ended, c.ended);
    EXPECT_EQ(looks, c.looks);
    EXPECT_EQ(clock.total_slept(), (c.looks - 1) * uint64_t{1000});
  }
}

}  // namespace
}  // namespace qbrk
