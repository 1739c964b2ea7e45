// The synchronize job on the real file system against the emulator program, talking to a
// hidden window of this thread through a JobLink as it would to its dialog: the messages of
// a run, a failure with the entry's name, a cancel while the files go, the vanished mirror
// folder, and refused credentials.
#include <windows.h>

#include "answering_window.h"
#include "platform/running_jobs.h"
#include "platform/win32/win32_env.h"
#include "platform/win32/win32_net.h"
#include "settings/folders.h"
#include "settings/settings.h"
#include "sync/sync_job.h"
#include "sync_fixture.h"

namespace qbrk::test {
namespace {

constexpr UINT kPhase = WM_USER + 59;
constexpr UINT kCompleted = WM_USER + 52;
constexpr UINT kResolved = WM_USER + 53;
constexpr UINT kFailed = WM_USER + 54;
constexpr UINT kExecution = WM_USER + 51;
constexpr UINT kMirrorVanished = WM_USER + 60;
constexpr UINT kSignIn = WM_USER + 66;

using Messages = std::vector<uint32_t>;
const Messages kCompletedRun = {kPhase, kPhase, kPhase, kResolved, kExecution, kCompleted};

class WineSyncJobTest : public WineSyncScenario {
 protected:
  void SetUp() override {
    WineSyncScenario::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    // The job finds its folders as shipped code does: the mirror folder from the settings,
    // the table file in the data folder.
    ASSERT_TRUE(Settings(Win32Env().registry).WriteMirror(mirror_));
    ASSERT_TRUE(ResolveDataFolder(Win32Env(), &data_folder_));
    RemoveTable();
  }
  void TearDown() override {
    RemoveTable();
    WineSyncScenario::TearDown();
  }
  void RemoveTable() {
    SetFileAttributesA(TablePath().c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileA(TablePath().c_str());
  }

  ResultCode RunJob() {
    ResultCode outcome = 500;
    EXPECT_TRUE(dialog_.Run([&](DialogLink& link) {
      auto record = std::make_unique<JobRecord>();
      record->link = &link;
      record->error_name = &error_name_;
      ConnectionUi ui;
      ui.report_error = [this](ResultCode code) { reported_.push_back(code); };
      outcome = RunSynchronizeJob(Win32Env(), NetPlatform{Win32HttpTransport(), Win32DialUp()},
                                  std::move(ui), std::move(record), &stats_);
    }));
    return outcome;
  }

  AnsweringWindow dialog_;
};

TEST_F(WineSyncJobTest, ACompletedRunTellsTheWindowEachStep) {
  LocalFile("a.txt", "local");
  ServerFile("docs/b.txt", "server");
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_EQ(dialog_.messages(), kCompletedRun);
  EXPECT_EQ(dialog_.wparams(kPhase), (std::vector<WPARAM>{0, 1, 2}));
  EXPECT_EQ(stats_.uploads, 1u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_GT(dialog_.progress(), 0u);
  EXPECT_EQ(RunningJobCount(), 0);
  EXPECT_EQ(LocalContent("docs/b.txt"), "server");
  EXPECT_EQ(RecordTree(), "a.txt 5\ndocs/\ndocs/b.txt 6\n");
  EXPECT_FALSE(HasWork());
}

TEST_F(WineSyncJobTest, AFailedUploadNamesItsFileAndKeepsTheOnesBefore) {
  LocalFile("a.txt", "a");
  LocalFile("b.txt", "b");
  AddFault(std::string("PUT ") + kRoot + "b.txt status=507");
  const ResultCode code = RunJob();
  EXPECT_EQ(code, 71u);
  EXPECT_EQ(dialog_.messages(),
            (Messages{kPhase, kPhase, kPhase, kResolved, kExecution, kFailed}));
  EXPECT_EQ(dialog_.wparams(kFailed), (std::vector<WPARAM>{71}));
  EXPECT_EQ(error_name_, "b.txt");
  EXPECT_EQ(RecordTree(), "a.txt 1\n");
}

TEST_F(WineSyncJobTest, ACancelWhileFilesGoEndsWithoutAMessageAndKeepsWhatWasDone) {
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) LocalFile(name, std::string(10, 'x'));
  dialog_.CancelAt(kExecution);
  EXPECT_EQ(RunJob(), 1u);
  EXPECT_EQ(dialog_.messages(), (Messages{kPhase, kPhase, kPhase, kResolved, kExecution}));
  EXPECT_NE(RecordTree(), "<none>");  // execution had begun: the record was written
}

TEST_F(WineSyncJobTest, AVanishedMirrorFolderIsPutToTheWindowAndEndsQuietly) {
  const std::string gone = temp_ + "gone";
  ASSERT_TRUE(Settings(Win32Env().registry).WriteMirror(gone));
  std::string told;
  dialog_.OnMessage(kMirrorVanished,
                    [&](WPARAM w, LPARAM) { told = reinterpret_cast<const char*>(w); });
  EXPECT_EQ(RunJob(), 1u);
  EXPECT_EQ(told, gone);
  EXPECT_EQ(dialog_.messages(), Messages{kMirrorVanished});
  EXPECT_EQ(RecordTree(), "<none>");
}

TEST_F(WineSyncJobTest, RefusedCredentialsAskForASignInAndEndWhenItIsClosed) {
  WriteSettings("wrong");
  EXPECT_EQ(RunJob(), 1u);
  EXPECT_EQ(reported_, std::vector<ResultCode>{75});
  EXPECT_EQ(dialog_.messages(), (Messages{kPhase, kPhase, kSignIn, kFailed}));
  EXPECT_EQ(dialog_.wparams(kFailed), (std::vector<WPARAM>{1}));
}

}  // namespace
}  // namespace qbrk::test
