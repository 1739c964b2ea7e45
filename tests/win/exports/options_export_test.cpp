// qbrkOpenOptionDlg through the built DLL: the options it shows come from the user's real
// settings key and Startup folder, and an OK writes them back there.
#include <shlobj.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "dll_fixture.h"
#include "resource_ids.h"
#include "support/dialog_driver.h"
#include "support/typing.h"

namespace qbrk::test {
namespace {

using Command = UINT(WINAPI*)(UINT_PTR, HWND);

constexpr char kOptionsTitle[] = "Qbrookツール－オプション";

// The value `name` of the settings key; false when it is absent.
bool ReadSetting(const char* name, DWORD* type, std::string* data) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, kSettingsKeyPath, 0, KEY_READ, &key) != ERROR_SUCCESS)
    return false;
  DWORD size = 0;
  bool found = RegQueryValueExA(key, name, nullptr, type, nullptr, &size) == ERROR_SUCCESS;
  if (found) {
    data->assign(size, '\0');
    found = RegQueryValueExA(key, name, nullptr, type, reinterpret_cast<BYTE*>(data->data()),
                             &size) == ERROR_SUCCESS;
  }
  RegCloseKey(key);
  return found;
}

// A DWORD of the settings key, or -1 when it is absent or not a DWORD.
long long SettingDword(const char* name) {
  DWORD type = 0;
  std::string data;
  if (!ReadSetting(name, &type, &data) || type != REG_DWORD || data.size() != 4) return -1;
  DWORD value = 0;
  memcpy(&value, data.data(), 4);
  return value;
}

std::string StartupLink() {
  char folder[MAX_PATH] = {};
  SHGetFolderPathA(nullptr, CSIDL_STARTUP | CSIDL_FLAG_CREATE, nullptr, 0, folder);
  return std::string(folder) + "\\Qbrook.LNK";
}

class OptionsExportTest : public DllTest {
 protected:
  void SetUp() override {
    DllTest::SetUp();
    DeleteFileA(StartupLink().c_str());
  }
  void TearDown() override {
    DeleteFileA(StartupLink().c_str());
    DllTest::TearDown();
  }
};

TEST_F(OptionsExportTest, OpensOnTheStoredSettingsAndStoresThemOnOk) {
  ASSERT_TRUE(SetSettingDword("SyncNotify", 0));
  ASSERT_TRUE(SetSettingDword("PutUnit", 0x40000));
  ASSERT_TRUE(SetSettingDword("UseSSL", 1));
  // The shortcut's existence is the start-with-Windows option, whatever the file holds.
  HANDLE link =
      CreateFileA(StartupLink().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  ASSERT_NE(link, INVALID_HANDLE_VALUE);
  CloseHandle(link);

  HWND host = CreateWindowA("STATIC", "host", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr,
                            nullptr, nullptr);
  HWND owner_seen = nullptr;
  const UINT ended = RunDialog(
      [&] {
        return Export<Command>("qbrkOpenOptionDlg")(reinterpret_cast<UINT_PTR>(host), nullptr);
      },
      kOptionsTitle,
      [&owner_seen](HWND dialog) {
        owner_seen = GetWindow(dialog, GW_OWNER);
        EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_SYNC_NOTIFY), BST_UNCHECKED);
        EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_USE_SSL), BST_CHECKED);
        EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_START_WITH_WINDOWS), BST_CHECKED);
        EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_MAIL), "");
        TypeInto(dialog, IDC_OPTIONS_MAIL, "taro@example.jp");
        TypeInto(dialog, IDC_OPTIONS_PASSWORD, "secret");
        Click(dialog, IDC_OPTIONS_CHECK_BOOT);
        Click(dialog, IDC_OPTIONS_START_WITH_WINDOWS);
        Click(dialog, IDOK);
      });
  DestroyWindow(host);
  EXPECT_EQ(ended, static_cast<UINT>(IDOK));
  EXPECT_EQ(owner_seen, host);  // the host value names the dialog's owner

  EXPECT_EQ(SettingDword("SyncNotify"), 0);
  EXPECT_EQ(SettingDword("CheckBoot"), 0);
  EXPECT_EQ(SettingDword("FinishClose"), 0);
  EXPECT_EQ(SettingDword("PutUnit"), 0x40000);
  EXPECT_EQ(SettingDword("UseSSL"), 1);
  EXPECT_EQ(SettingDword("Animation"), -1);  // the dialog only tells the host
  DWORD type = 0;
  std::string info;
  ASSERT_TRUE(ReadSetting("Info", &type, &info));
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  EXPECT_EQ(info.size() % 8, 0u);
  EXPECT_EQ(info.find("secret"), std::string::npos);  // scrambled, not plain
  EXPECT_EQ(GetFileAttributesA(StartupLink().c_str()), INVALID_FILE_ATTRIBUTES);

  // Opened again: what was stored comes back.
  RunDialog([&] { return Export<Command>("qbrkOpenOptionDlg")(0, nullptr); }, kOptionsTitle,
            [](HWND dialog) {
              EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_MAIL), "taro@example.jp");
              EXPECT_EQ(TextOf(dialog, IDC_OPTIONS_PASSWORD), "secret");
              EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_CHECK_BOOT), BST_UNCHECKED);
              EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_START_WITH_WINDOWS), BST_UNCHECKED);
              PressEscape(dialog);
            });
}

TEST_F(OptionsExportTest, CancelStoresNothingAndOnlyTheTrayToolMakesTheShortcut) {
  EXPECT_EQ(
      RunDialog([&] { return Export<Command>("qbrkOpenOptionDlg")(0, nullptr); }, kOptionsTitle,
                [](HWND dialog) {
                  TypeInto(dialog, IDC_OPTIONS_MAIL, "taro@example.jp");
                  Click(dialog, IDC_OPTIONS_SYNC_NOTIFY);
                  Click(dialog, IDCANCEL);
                }),
      static_cast<UINT>(IDCANCEL));
  DWORD type = 0;
  std::string data;
  EXPECT_FALSE(ReadSetting("Info", &type, &data));
  EXPECT_EQ(SettingDword("SyncNotify"), -1);
  EXPECT_EQ(SettingDword("CheckBoot"), -1);

  // This test program is not the tray tool: asking to start with Windows makes no shortcut.
  EXPECT_EQ(
      RunDialog([&] { return Export<Command>("qbrkOpenOptionDlg")(0, nullptr); }, kOptionsTitle,
                [](HWND dialog) {
                  EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_START_WITH_WINDOWS),
                            BST_UNCHECKED);
                  Click(dialog, IDC_OPTIONS_START_WITH_WINDOWS);
                  Click(dialog, IDOK);
                }),
      static_cast<UINT>(IDOK));
  EXPECT_EQ(GetFileAttributesA(StartupLink().c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(SettingDword("SyncNotify"), 1);
}

TEST_F(OptionsExportTest, BusyLibraryAnswersZeroWithoutADialog) {
  HANDLE held = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  HANDLE release = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  std::thread holder([&] {
    HANDLE mutex = OpenMutexA(SYNCHRONIZE, FALSE, "HvqbrkMtx");
    if (mutex && WaitForSingleObject(mutex, 5000) == WAIT_OBJECT_0) {
      SetEvent(held);
      WaitForSingleObject(release, 30000);
      ReleaseMutex(mutex);
    } else {
      SetEvent(held);
    }
    if (mutex) CloseHandle(mutex);
  });
  WaitForSingleObject(held, 10000);
  EXPECT_EQ(RunWithoutDialog([&] { return Export<Command>("qbrkOpenOptionDlg")(0, nullptr); },
                             kOptionsTitle),
            0u);
  SetEvent(release);
  holder.join();
  CloseHandle(held);
  CloseHandle(release);
}

}  // namespace
}  // namespace qbrk::test
