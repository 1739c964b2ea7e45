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

// The mutex and the host window in one log, so that their order can be checked.
class Recorder final : public CommandMutex, public HostWindow {
 public:
  bool Acquire(uint32_t timeout_ms) override {
    log.push_back("wait " + std::to_string(timeout_ms));
    return mutex_free;
  }
  void Release() override { log.push_back("release"); }
  bool SendCommand(uint32_t id, intptr_t value) override {
    if (host_present) log.push_back("send " + std::to_string(id) + " " + std::to_string(value));
    return host_present;
  }
  bool PostCommand(uint32_t, intptr_t) override { return host_present; }

  Log log;
  bool mutex_free = true;
  bool host_present = true;
};

class CommandGuardTest : public ::testing::Test {
 protected:
  uint32_t Run(ExportId id, uintptr_t host_value = 0, uintptr_t owner = 0) {
    return guard_.Run(id, host_value, owner, [this] { return r_.log.push_back("command"), 7u; });
  }
  Recorder r_;
  KeptHostArguments kept_;
  CommandGuard guard_{r_, r_, kept_};
};

TEST_F(CommandGuardTest, OnlyTheFourQueriesGoUnguardedAndBusyAnswersTwoOnlyWhereTwoMeansBusy) {
  const std::set<std::string> unguarded = {"qbrkGetMirrorFolderPath", "qbrkGetMirrorFolderPathEx",
                                           "qbrkMsgBox", "qbrkViewHomePage"};
  const std::set<std::string> answer_two = {"qbrkOnInit", "qbrkOnDestroy",
                                            "qbrkSeparateFileTransfer"};
  ASSERT_EQ(AllExportRules().size(), 17u);
  r_.mutex_free = false;
  for (const ExportRule& rule : AllExportRules()) {
    SCOPED_TRACE(rule.name);
    EXPECT_EQ(&RuleOf(rule.id), &rule);
    EXPECT_EQ(rule.guarded, !unguarded.contains(rule.name));
    if (!rule.guarded) continue;
    r_.log.clear();
    EXPECT_EQ(Run(rule.id), answer_two.contains(rule.name) ? 2u : 0u);
    // Silent: the command did not run, the host heard nothing, nothing was released.
    EXPECT_EQ(r_.log, Log{"wait 1000"});
  }
}

TEST_F(CommandGuardTest, CommandRunsBetweenBusyAndIdleAndTheMutexGoesBackFirst) {
  EXPECT_EQ(Run(ExportId::kSynchronize), 7u);
  EXPECT_EQ(r_.log, (Log{"wait 1000", "send 32779 1", "command", "release", "send 32779 0"}));

  // Idle goes only to a host that was there when the command started.
  r_.log.clear();
  r_.host_present = false;
  guard_.Run(ExportId::kOnInit, 0, 0, [this] { return r_.host_present = true, 0u; });
  EXPECT_EQ(r_.log, (Log{"wait 1000", "release"}));
  r_.log.clear();
  guard_.Run(ExportId::kOnInit, 0, 0, [this] { return r_.host_present = false, 0u; });
  EXPECT_EQ(r_.log, (Log{"wait 1000", "send 32779 1", "release"}));
}

TEST_F(CommandGuardTest, ThrowingCommandStillReleasesAndTellsTheHost) {
  EXPECT_THROW(guard_.Run(ExportId::kPublishFolder, 0, 0,
                          []() -> uint32_t { throw std::runtime_error("dialog failed"); }),
               std::runtime_error);
  EXPECT_EQ(r_.log, (Log{"wait 1000", "send 32779 1", "release", "send 32779 0"}));
}

TEST_F(CommandGuardTest, HostArgumentsAreKeptFromTheFirstNonZeroValueEvenWhenBusy) {
  Run(ExportId::kOnInit, 0, 0);
  r_.mutex_free = false;
  Run(ExportId::kSynchronize, 0x11, 0);  // busy, yet kept: keeping comes before the wait
  r_.mutex_free = true;
  Run(ExportId::kSeparateFileTransfer, 0, 0x22);
  Run(ExportId::kOnDestroy, 0x33, 0x44);
  EXPECT_EQ(kept_.host_value(), 0x11u);
  EXPECT_EQ(kept_.owner(), 0x22u);
  EXPECT_EQ(kept_.OwnerFor(0), 0x22u);
  EXPECT_EQ(kept_.OwnerFor(0x55), 0x55u);

  KeptHostArguments fresh;
  CommandGuard other(r_, r_, fresh);
  for (ExportId id : {ExportId::kUpdate, ExportId::kMsgBox})
    other.Run(id, 0x66, 0x77, [] { return 1u; });
  EXPECT_EQ(fresh.host_value(), 0u);
  EXPECT_EQ(fresh.owner(), 0u);
}

TEST(JobWaitTest, LooksOncePerSecondUntilNoJobIsLeftAndGivesUpAfter901Looks) {
  struct Case {
    int ends_at_look;  // the count reads 0 from this look on; 0: never
    bool ended;
    int looks;
  };
  for (const Case& c : {Case{1, true, 1}, Case{3, true, 3}, Case{0, false, 901}}) {
    SCOPED_TRACE(c.ends_at_look);
    FakeClock clock;
    int looks = 0;
    const bool ended = WaitForJobsToEnd(clock, [&] {
      ++looks;
      return c.ends_at_look != 0 && looks >= c.ends_at_look ? 0 : 2;
    });
    EXPECT_EQ(ended, c.ended);
    EXPECT_EQ(looks, c.looks);
    EXPECT_EQ(clock.total_slept(), (c.looks - 1) * uint64_t{1000});
  }
}

}  // namespace
}  // namespace qbrk
