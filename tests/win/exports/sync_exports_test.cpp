// qbrkChckStartUpSynchro and qbrkSynchronize through the DLL, as the tray program's hidden
// window sees them: the busy messages around each command and the sync state after it. The
// synchronization itself runs against the emulator program beside this test process.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "dll_fixture.h"
#include "host_window.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"

namespace qbrk::test {
namespace {

using Command = UINT(WINAPI*)(UINT_PTR, HWND);

constexpr char kProgressTitle[] = "Qbrookツール－同期";
constexpr char kStartUpTitle[] = "Qbrookツール－起動時チェック";
constexpr char kSignInTitle[] = "Qbrookツール－認証";

class SyncExportsTest : public DllTest {
 protected:
  void SetUp() override {
    DllTest::SetUp();
    if (HasFatalFailure()) return;
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    mirror_ = std::string(temp) + "qbrk_sync_exports_" + std::to_string(GetCurrentProcessId());
    CreateDirectoryA(mirror_.c_str(), nullptr);
    ASSERT_TRUE(host_.ready());
    check_ = Export<Command>("qbrkChckStartUpSynchro");
    synchronize_ = Export<Command>("qbrkSynchronize");
  }
  void TearDown() override {
    RemoveFile(mirror_ + "\\a.txt");
    RemoveFolder(mirror_);
    DllTest::TearDown();
  }

  // Uses this test's own folder as the mirror folder.
  void OwnMirror() { ASSERT_TRUE(SetSettingString("Mirror", mirror_)); }
  // Connects to the emulator beside this process; false (skipped) without one.
  bool ServerSettings() {
    const char* port = std::getenv("QBRK_EMULATOR_PORT");
    if (!port) return false;
    EXPECT_TRUE(SetSettingString("Domain", "127.0.0.1"));
    EXPECT_TRUE(SetSettingDword("Port", static_cast<DWORD>(std::atoi(port))));
    EXPECT_TRUE(SetSettingDword("PutLog", 0));
    EXPECT_TRUE(WriteCredentials(kUser, kPassword));
    return true;
  }
  std::string DiskFile(const std::string& name) {
    const char* data = std::getenv("QBRK_EMULATOR_DATA");
    return data ? std::string(data) + "\\accounts\\" + kUser + "\\" + name : std::string();
  }

  HostWindow host_;
  std::string mirror_;
  Command check_ = nullptr;
  Command synchronize_ = nullptr;
};

const std::vector<std::string> kBusy = {"sent 32779 1", "sent 32779 0"};

std::vector<std::string> BusyThen(const std::string& posted) {
  return {"sent 32779 1", "sent 32779 0", posted};
}

TEST_F(SyncExportsTest, StartUpCheckIsOffWithoutTheSettingsKey) {
  EXPECT_EQ(check_(0, nullptr), 0u);
  EXPECT_EQ(host_.Received(), kBusy);
}

TEST_F(SyncExportsTest, StartUpCheckTellsTheHostWhetherTheMirrorFolderIsInStep) {
  OwnMirror();  // the key now exists; CheckBoot is absent, so the check runs
  EXPECT_EQ(check_(0, nullptr), 0u);
  EXPECT_EQ(host_.Received(), BusyThen("posted 32780 1"));

  // A file the record does not know: the confirmation (answered no) and 32780 with 0, and
  // CheckBoot is written back.
  WriteFile(mirror_ + "\\a.txt", "a");
  EXPECT_EQ(RunDialog([&] { return check_(0, nullptr); }, kStartUpTitle,
                      [](HWND dialog) { Click(dialog, IDCANCEL); }),
            0u);
  EXPECT_EQ(host_.Received(), BusyThen("posted 32780 0"));
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kSettingsKeyPath, 0, KEY_READ, &key), 0);
  DWORD value = 7;
  DWORD size = sizeof value;
  DWORD type = 0;
  EXPECT_EQ(
      RegQueryValueExA(key, "CheckBoot", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size),
      0);
  RegCloseKey(key);
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(value, 1u);

  ASSERT_TRUE(SetSettingDword("CheckBoot", 0));
  EXPECT_EQ(check_(0, nullptr), 0u);
  EXPECT_EQ(host_.Received(), kBusy);
}

TEST_F(SyncExportsTest, ASynchronizationThatCannotSignInLeavesTheSyncStateAlone) {
  OwnMirror();
  ASSERT_TRUE(SetSettingDword("SyncNotify", 0));
  WriteFile(mirror_ + "\\a.txt", "a");
  // No credentials: the sign-in dialog opens over the progress dialog and is closed; the job
  // ends, and so does its dialog, and nothing is posted.
  EXPECT_EQ(RunDialog([&] { return synchronize_(0, nullptr); }, kProgressTitle,
                      [](HWND progress) {
                        HWND sign_in = WaitForDialog(kSignInTitle, progress);
                        ASSERT_NE(sign_in, nullptr) << DescribeDialog(progress);
                        Click(sign_in, IDCANCEL);
                        EXPECT_TRUE(WaitUntilClosed(progress, 30000)) << DescribeDialog(progress);
                      }),
            1u);
  EXPECT_EQ(host_.Received(), kBusy);
}

TEST_F(SyncExportsTest, ACleanSynchronizationTellsTheHostTheFolderIsInStep) {
  if (!ServerSettings()) GTEST_SKIP() << "no emulator beside this test";
  OwnMirror();
  ASSERT_TRUE(SetSettingDword("SyncNotify", 0));
  WriteFile(mirror_ + "\\a.txt", "content");
  // The progress dialog stays open at the end ("FinishClose" is off) until it is closed.
  EXPECT_EQ(RunDialog([&] { return synchronize_(0, nullptr); }, kProgressTitle,
                      [](HWND progress) {
                        for (int i = 0; i < 600 && TextOf(progress, IDOK) != "閉じる"; ++i)
                          Sleep(100);
                        EXPECT_EQ(TextOf(progress, IDOK), "閉じる") << DescribeDialog(progress);
                        EXPECT_EQ(TextOf(progress, IDC_PROGRESS_UPLOADS), "1");
                        Click(progress, IDOK);
                      }),
            1u);
  EXPECT_EQ(host_.Received(), BusyThen("posted 32780 1"));
  std::ifstream uploaded(DiskFile("a.txt"), std::ios::binary);
  std::string content((std::istreambuf_iterator<char>(uploaded)), {});
  EXPECT_EQ(content, "content");
  // The record now holds the file: the start-up check finds the folder in step.
  EXPECT_EQ(check_(0, nullptr), 0u);
  EXPECT_EQ(host_.Received(), BusyThen("posted 32780 1"));
  RemoveFile(DiskFile("a.txt"));
}

}  // namespace
}  // namespace qbrk::test
