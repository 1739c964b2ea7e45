// The tray program's view of the library: qbrk-host.exe loads the real DLL in a process of its
// own and reports each call's result and the messages its hidden window received.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host_process.h"
#include "support/user_state.h"

namespace qbrk::e2e {
namespace {

constexpr int kHostTimeoutMs = 60000;
constexpr char kConfirmTitle[] = "Qbrookツール－同期";
constexpr char kMirrorTitle[] = "Qbrookツール－同期対象フォルダ変更";
constexpr char kOptionsTitle[] = "Qbrookツール－オプション";
constexpr char kSignInTitle[] = "Qbrookツール－認証";
constexpr char kBoxCaption[] = "E2E";
const std::vector<std::string> kBusyThenIdle = {"sent 32779 1", "sent 32779 0"};

class HostCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override { test::ClearUserState(); }
  void TearDown() override { test::ClearUserState(); }

  // Runs one host to its end and returns its calls.
  std::vector<CallReport> RunHost(const std::string& arguments) {
    HostProcess host;
    EXPECT_TRUE(host.Start(arguments));
    EXPECT_TRUE(host.Wait(kHostTimeoutMs)) << host.output();
    return ParseHostOutput(host.output());
  }
};

TEST_F(HostCommandsTest, EveryGuardedExportTellsTheHostItIsBusyAndTheFourQueriesDoNot) {
  ASSERT_TRUE(test::SetSettingDword("SyncNotify", 0));
  struct Expected {
    const char* call;
    long long result;
    bool guarded;
    // Posted after the busy messages (the host pumps them once the call has returned).
    const char* posted = nullptr;
  };
  const std::vector<Expected> expected = {
      {"qbrkOnInit 0 @host", 0, true},
      {"qbrkChangeLocalMirrorPath 0 @host", 0, true},  // cancelled below
      // The settings key exists and the empty default mirror folder has no record: in step.
      {"qbrkChckStartUpSynchro 0 @host", 0, true, "posted 32780 1"},
      {"qbrkDeleteAllSeverFile 0 @host", 0, true},
      {"qbrkDeleteTableFile 0 @host", 0, true},
      {"qbrkOpenDiskSpaceDlg 0 @host", 0, true},
      {"qbrkOpenOptionDlg 0 @host", IDCANCEL, true},  // cancelled below
      {"qbrkOpenSyncListDlg 0 @host", 0, true},
      {"qbrkPublishFolder 0 @host", 0, true},
      // Bit 0 clear: nothing to transfer, yet the host hears both messages.
      {"qbrkSeparateFileTransfer @null 0 @host 0", 0, true},
      // No credentials: the sign-in dialog is cancelled below, so nothing is said of the
      // state.
      {"qbrkSynchronize 0 @host", 1, true},
      {"qbrkUpdate", 0, true},  // no installation folder in the test prefix
      {"qbrkGetMirrorFolderPath @buf", 1, false},
      {"qbrkGetMirrorFolderPathEx @buf 0", 1, false},
      {"qbrkViewHomePage s:NoSuchPage", 1, false},
      {"qbrkMsgBox s:text s:E2E 0 @null", 1, false},  // answered below
      {"qbrkOnDestroy 0 @host", 0, true},
  };
  std::string arguments;
  for (const Expected& e : expected)
    arguments += std::string(" call ") + e.call;

  HostProcess host;
  ASSERT_TRUE(host.Start(arguments));
  HWND mirror = host.WaitForDialog(kMirrorTitle);
  ASSERT_NE(mirror, nullptr) << host.output();
  PressButton(mirror, IDCANCEL);
  HWND options = host.WaitForDialog(kOptionsTitle);
  ASSERT_NE(options, nullptr) << host.output();
  PressButton(options, IDCANCEL);
  HWND sign_in = host.WaitForDialog(kSignInTitle);
  ASSERT_NE(sign_in, nullptr) << host.output();
  PressButton(sign_in, IDCANCEL);
  HWND box = host.WaitForDialog(kBoxCaption);
  ASSERT_NE(box, nullptr) << host.output();
  PressButton(box, 6059);  // the box's first button, "確認(&C)"
  ASSERT_TRUE(host.Wait(kHostTimeoutMs)) << host.output();

  const std::vector<CallReport> calls = ParseHostOutput(host.output());
  ASSERT_EQ(calls.size(), expected.size()) << host.output();
  for (size_t i = 0; i < calls.size(); ++i) {
    SCOPED_TRACE(expected[i].call);
    const std::string call = expected[i].call;
    EXPECT_EQ(calls[i].name, call.substr(0, call.find(' ')));
    EXPECT_EQ(calls[i].result, expected[i].result);
    std::vector<std::string> messages =
        expected[i].guarded ? kBusyThenIdle : std::vector<std::string>{};
    if (expected[i].posted) messages.push_back(expected[i].posted);
    EXPECT_EQ(calls[i].messages, messages);
  }
}

TEST_F(HostCommandsTest, SecondHostIsTurnedAwayAfterASecondWhileTheFirstHoldsADialog) {
  HostProcess first;
  ASSERT_TRUE(first.Start("call qbrkSynchronize 0 @host"));
  HWND confirm = first.WaitForDialog(kConfirmTitle);
  ASSERT_NE(confirm, nullptr) << first.output();

  const std::vector<CallReport> second = RunHost(
      "--timing call qbrkOnInit 0 @host call qbrkSeparateFileTransfer @null 1 @host 0 "
      "call qbrkSynchronize 0 @host");
  ASSERT_EQ(second.size(), 3u);
  const long long busy_results[] = {2, 2, 0};
  for (size_t i = 0; i < second.size(); ++i) {
    SCOPED_TRACE(second[i].name);
    EXPECT_EQ(second[i].result, busy_results[i]);
    EXPECT_TRUE(second[i].messages.empty());
    // The guard's one-second wait is the only timing the library promises; a loaded machine
    // can only make it longer.
    EXPECT_GE(second[i].took_ms, 900);
  }

  // The first command is still waiting for its answer, and ends as if alone.
  EXPECT_TRUE(IsWindow(confirm));
  PressButton(confirm, IDOK);
  // Without credentials the synchronization asks for them; closing that ends it.
  HWND sign_in = first.WaitForDialog(kSignInTitle);
  ASSERT_NE(sign_in, nullptr) << first.output();
  PressButton(sign_in, IDCANCEL);
  ASSERT_TRUE(first.Wait(kHostTimeoutMs)) << first.output();
  const std::vector<CallReport> calls = ParseHostOutput(first.output());
  ASSERT_EQ(calls.size(), 1u) << first.output();
  EXPECT_EQ(calls[0].result, 1);
  EXPECT_EQ(calls[0].messages, kBusyThenIdle);
}

TEST_F(HostCommandsTest, WithoutAHostWindowNothingIsSentAndEverythingStillWorks) {
  const std::vector<CallReport> calls = RunHost(
      "--no-window call qbrkOnInit 0 0 call qbrkGetMirrorFolderPath @buf "
      "call qbrkSeparateFileTransfer @null 0 0 0 call qbrkOnDestroy 0 0");
  ASSERT_EQ(calls.size(), 4u);
  for (const CallReport& call : calls) {
    EXPECT_TRUE(call.messages.empty()) << call.name;
    EXPECT_EQ(call.result, call.name == "qbrkGetMirrorFolderPath" ? 1 : 0) << call.name;
  }
  EXPECT_EQ(calls[1].notes, std::vector<std::string>{"buffer \"" + test::DefaultMirror() + "\""});
}

}  // namespace
}  // namespace qbrk::e2e
