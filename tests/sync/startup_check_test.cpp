// The start-up check: CheckLocalChanges against the record, the "CheckBoot" setting (no key:
// off; a key without the value: on), the confirmation and its write-back, and what the host
// window is told.
#include "job_harness.h"
#include "platform/host_window.h"
#include "platform/memory/memory_registry.h"
#include "settings/registry_values.h"
#include "settings/settings.h"
#include "sync/startup_check.h"

namespace qbrk::testing {
namespace {

using Commands = std::vector<RecordingHostWindow::Command>;
const RecordingHostWindow::Command kInStep{false, IDC_HOST_SYNC_STATE, 1};
const RecordingHostWindow::Command kNeedsSync{false, IDC_HOST_SYNC_STATE, 0};

class StartUpCheckTest : public JobScenario {
 protected:
  // A first synchronization, so that the record holds the mirror folder as it is.
  void SyncedOnce() {
    LocalFile("a.txt", "a");
    LocalFolder("docs");
    LocalFile("docs/b.txt", "b");
    ASSERT_EQ(RunJob(), 0u);
    twin_.host.clear();
  }

  bool Changed() { return CheckLocalChanges(twin_.env, kMirror) == 1; }

  // Runs the check; the confirmation answers `yes` and ticks its box when `tick`.
  void Check(bool yes = false, bool tick = false, bool sync_succeeds = true) {
    StartUpCheckUi ui;
    ui.confirm = [=, this](uint32_t* check_boot) {
      confirmed_with_.push_back(*check_boot);
      *check_boot = tick ? 0 : 1;
      return yes;
    };
    ui.synchronize = [=, this] {
      ++synchronized_;
      start_of_sleep_ = clock_.TickCount();
      return sync_succeeds;
    };
    ui.close_streams = [this] { ++streams_closed_; };
    RunStartUpCheck(twin_.env, ui);
  }

  uint32_t StoredCheckBoot() {
    uint32_t value = 0xdead;
    ReadDwordValue(twin_.registry, RegistryRoot::kCurrentUser, kSettingsKey, "CheckBoot", &value);
    return value;
  }

  std::vector<uint32_t> confirmed_with_;
  int synchronized_ = 0;
  int streams_closed_ = 0;
  uint32_t start_of_sleep_ = 0;
};

TEST_P(StartUpCheckTest, LocalChangesOfEveryKindAreFoundAndNothingElse) {
  SyncedOnce();
  EXPECT_FALSE(Changed());
  ServerFile("server-only.txt", "s");  // the check never asks the server
  EXPECT_FALSE(Changed());
  LocalFile("a.txt", "edited", FileTimeOf(kBaseSeconds + 60));
  EXPECT_TRUE(Changed());
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_FALSE(Changed());
  LocalRemove("docs/b.txt");
  EXPECT_TRUE(Changed());
  prompt_.answers = {answer::kDeleteOnServer};
  ASSERT_EQ(RunJob(), 0u);
  LocalFolder("new-folder");
  EXPECT_TRUE(Changed());
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_FALSE(Changed());
  LocalRemove("docs");
  const size_t requests = http_.requests().size();
  EXPECT_TRUE(Changed());
  EXPECT_EQ(http_.requests().size(), requests);  // no connection at all
}

TEST_P(StartUpCheckTest, AMissingOrUnreadableTableMakesEveryLocalFileNew) {
  LocalFile("a.txt", "a");
  EXPECT_TRUE(Changed());
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_FALSE(Changed());
  WriteTable("not a table");
  EXPECT_TRUE(Changed());
  RemoveTable();
  LocalRemove("a.txt");
  EXPECT_FALSE(Changed());  // an empty folder and no record agree
}

TEST_P(StartUpCheckTest, WithoutTheSettingsKeyNothingIsCheckedOrPosted) {
  LocalFile("a.txt", "a");
  twin_.registry = MemoryRegistry();
  Check(true);
  EXPECT_TRUE(confirmed_with_.empty());
  EXPECT_EQ(synchronized_, 0);
  EXPECT_EQ(twin_.host.commands(), Commands{});
  EXPECT_FALSE(twin_.registry.KeyExists(RegistryRoot::kCurrentUser, kSettingsKey));
}

TEST_P(StartUpCheckTest, AKeyWithoutTheValueChecksAndFilesWithoutARecordAsk) {
  LocalFile("a.txt", "a");  // no table file yet
  Check(false);
  EXPECT_EQ(confirmed_with_, (std::vector<uint32_t>{1}));
  EXPECT_EQ(StoredCheckBoot(), 1u);
  EXPECT_EQ(twin_.host.commands(), Commands{kNeedsSync});
}

TEST_P(StartUpCheckTest, AChangeOnlyOnTheServerTellsTheHostTheFolderIsInStep) {
  SyncedOnce();
  ServerFile("elsewhere.txt", "x");
  Check(true);
  EXPECT_TRUE(confirmed_with_.empty());
  EXPECT_EQ(streams_closed_, 1);
  EXPECT_EQ(twin_.host.commands(), Commands{kInStep});
}

TEST_P(StartUpCheckTest, TickingTheBoxAndAnsweringNoTurnsTheCheckOff) {
  SyncedOnce();
  LocalFile("new.txt", "n");
  Check(false, true);
  EXPECT_EQ(StoredCheckBoot(), 0u);
  EXPECT_EQ(twin_.host.commands(), Commands{kNeedsSync});
  twin_.host.clear();
  Check(true);
  EXPECT_EQ(confirmed_with_.size(), 1u);  // the next start does not check
  EXPECT_EQ(twin_.host.commands(), Commands{});
}

TEST_P(StartUpCheckTest, AnUnreadableValueCountsAsOnAndIsWrittenBackAsANumber) {
  LocalFile("new.txt", "n");
  twin_.registry.Put(RegistryRoot::kCurrentUser, kSettingsKey, "CheckBoot", reg_type::kString,
                     {'0', 0});
  Check(false, false);
  EXPECT_EQ(confirmed_with_, (std::vector<uint32_t>{1}));
  EXPECT_EQ(StoredCheckBoot(), 1u);  // written back as a 32-bit value
}

TEST_P(StartUpCheckTest, YesSynchronizesAndTellsTheHostHowItWent) {
  SyncedOnce();
  LocalFile("new.txt", "n");
  const uint32_t before = clock_.TickCount();
  Check(true, false, true);
  EXPECT_EQ(synchronized_, 1);
  EXPECT_EQ(streams_closed_, 1);
  EXPECT_GE(clock_.TickCount() - start_of_sleep_, 500u);
  EXPECT_GE(clock_.TickCount() - before, 500u);
  EXPECT_EQ(twin_.host.commands(), Commands{kInStep});
  twin_.host.clear();
  Check(true, false, false);
  EXPECT_EQ(synchronized_, 2);
  EXPECT_EQ(streams_closed_, 1);
  EXPECT_EQ(twin_.host.commands(), Commands{kNeedsSync});
}

TEST_P(StartUpCheckTest, AVanishedMirrorFolderIsNotRepairedAndNothingIsSaid) {
  SyncedOnce();
  Settings(twin_.registry, clock_).WriteMirror("C:\\gone");
  Check(true);
  EXPECT_TRUE(confirmed_with_.empty());
  for (const auto& command : twin_.host.commands())
    EXPECT_NE(command.id, IDC_HOST_SYNC_STATE);
}

QBRK_SCENARIOS_ON_EVERY_SERVER(StartUpCheckTest);

}  // namespace
}  // namespace qbrk::testing
