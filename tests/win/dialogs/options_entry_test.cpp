// The options command on the real file system and shell: the start-up shortcut is a real
// shell link, made in a Startup folder of the test's own so nothing else sees it. The
// settings go to the in-memory registry (the real one is the DLL tests' business).
#include <objbase.h>
#include <shlobj.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "dialogs/options/options_dialog.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_registry.h"
#include "platform/memory/memory_string_table.h"
#include "platform/memory/recording_host_window.h"
#include "platform/win32/win32_file_system.h"
#include "platform/win32/win32_shell.h"
#include "resource_ids.h"
#include "settings/settings.h"
#include "support/dialog_driver.h"
#include "support/typing.h"

namespace qbrk {
namespace {

using test::Click;
using test::RunDialog;

constexpr char kOptionsTitle[] = "Qbrookツール－オプション";

// The real shell, except that the running program is the tray tool and the Startup folder
// is a folder of the test's.
class TrayToolShell final : public Shell {
 public:
  void set_startup(const std::string& startup) { startup_ = startup; }
  SysError GetFolderPath(KnownFolder folder, bool create, std::string* path) override {
    if (folder != KnownFolder::kStartup) return real_.GetFolderPath(folder, create, path);
    *path = startup_;
    return 0;
  }
  std::string ProgramPath() override { return startup_ + "\\HVQBRKUT.EXE"; }
  std::string LibraryPath() override { return real_.LibraryPath(); }
  bool CreateShortcut(const std::string& link_path, const ShortcutSpec& spec) override {
    return real_.CreateShortcut(link_path, spec);
  }
  bool RunCommandLine(const std::string&) override { return false; }
  bool ShellOpen(const std::string&, const std::string&) override { return false; }
  bool RunProcessAndWait(const std::string&) override { return false; }

 private:
  Win32Shell real_;
  std::string startup_;
};

// What the shell link at `path` points at, read back through the shell; empty when none.
std::string LinkTarget(const std::string& path) {
  std::string target;
  IShellLinkA* link = nullptr;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA,
                              reinterpret_cast<void**>(&link))))
    return target;
  IPersistFile* file = nullptr;
  if (SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)))) {
    wchar_t wide[MAX_PATH] = {};
    MultiByteToWideChar(CP_ACP, 0, path.c_str(), -1, wide, MAX_PATH);
    char found[MAX_PATH] = {};
    if (SUCCEEDED(file->Load(wide, STGM_READ)) &&
        SUCCEEDED(link->GetPath(found, MAX_PATH, nullptr, 0)))
      target = found;
    file->Release();
  }
  link->Release();
  return target;
}

class OptionsEntryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CoInitialize(nullptr);
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    startup_ = std::string(temp) + "qbrk-startup-" + std::to_string(GetCurrentProcessId());
    CreateDirectoryA(startup_.c_str(), nullptr);
    shell_.set_startup(startup_);
  }
  void TearDown() override {
    DeleteFileA(link().c_str());
    RemoveDirectoryA(startup_.c_str());
    CoUninitialize();
  }
  std::string link() const { return startup_ + "\\Qbrook.LNK"; }

  uint32_t Open(const std::function<void(HWND)>& drive) {
    return RunDialog([this] { return OpenOptions(env_, nullptr); }, kOptionsTitle, drive);
  }

  std::string startup_;
  FakeClock clock_;
  Win32FileSystem files_;
  MemoryRegistry registry_;
  RecordingHostWindow host_;
  TrayToolShell shell_;
  MemoryStringTable strings_;
  Env env_{files_, registry_, clock_, host_, shell_, strings_};
};

TEST_F(OptionsEntryTest, OkStoresTheOptionsAndMakesOrRemovesTheStartUpShortcut) {
  Settings settings(registry_, clock_);

  // A fresh user: defaults shown, no shortcut yet, so start-with-Windows is off.
  EXPECT_EQ(Open([](HWND dialog) {
              EXPECT_EQ(test::TextOf(dialog, IDC_OPTIONS_MAIL), "");
              EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_START_WITH_WINDOWS), BST_UNCHECKED);
              EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_SYNC_NOTIFY), BST_CHECKED);
              test::TypeInto(dialog, IDC_OPTIONS_MAIL, "taro@example.jp");
              test::TypeInto(dialog, IDC_OPTIONS_PASSWORD, "secret");
              Click(dialog, IDC_OPTIONS_SYNC_NOTIFY);
              Click(dialog, IDC_OPTIONS_START_WITH_WINDOWS);
              Click(dialog, IDOK);
            }),
            static_cast<uint32_t>(IDOK));
  EXPECT_EQ(LinkTarget(link()), startup_ + "\\HVQBRKUT.EXE");
  EXPECT_EQ(settings.SyncNotify(), 0u);
  Credentials credentials;
  ASSERT_TRUE(settings.ReadCredentials(CredentialKind::kService, &credentials));
  EXPECT_EQ(credentials.user + "/" + credentials.password, "taro@example.jp/secret");
  EXPECT_EQ(registry_.Find(RegistryRoot::kCurrentUser, kSettingsKey, "Animation"), nullptr);

  // Cancel changes nothing, whatever was clicked.
  EXPECT_EQ(Open([](HWND dialog) {
              EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_OPTIONS_START_WITH_WINDOWS), BST_CHECKED);
              EXPECT_EQ(test::TextOf(dialog, IDC_OPTIONS_PASSWORD), "secret");
              Click(dialog, IDC_OPTIONS_START_WITH_WINDOWS);
              Click(dialog, IDC_OPTIONS_SYNC_NOTIFY);
              Click(dialog, IDCANCEL);
            }),
            static_cast<uint32_t>(IDCANCEL));
  EXPECT_NE(GetFileAttributesA(link().c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(settings.SyncNotify(), 0u);

  // Unchecked and confirmed: the shortcut goes.
  EXPECT_EQ(Open([](HWND dialog) {
              Click(dialog, IDC_OPTIONS_START_WITH_WINDOWS);
              Click(dialog, IDOK);
            }),
            static_cast<uint32_t>(IDOK));
  EXPECT_EQ(GetFileAttributesA(link().c_str()), INVALID_FILE_ATTRIBUTES);
  // The dialog told the host about the animation (on, as never changed).
  EXPECT_EQ(host_.commands().back(),
            (RecordingHostWindow::Command{false, IDC_HOST_ANIMATION_ON, 1}));
}

}  // namespace
}  // namespace qbrk
