// The mirror folder dialog (6030) on real folders: what it opens with, what OK stores, how a
// folder that cannot be used is reported while the dialog stays open, and its two helpers.
#include "dialogs/mirror_folder_dialog.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/env.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/fake_shell.h"
#include "platform/memory/memory_registry.h"
#include "platform/memory/memory_string_table.h"
#include "platform/memory/recording_host_window.h"
#include "platform/win32/win32_file_system.h"
#include "resource_ids.h"
#include "settings/settings.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"

namespace qbrk {
namespace {

using test::Click;
using test::PostClick;
using test::RunDialog;
using test::TextOf;

constexpr char kTitle[] = "Qbrookツール－同期対象フォルダ変更";

bool Exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

class MirrorFolderDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char temp[MAX_PATH] = {};
    ASSERT_NE(GetTempPathA(MAX_PATH, temp), 0u);
    base_ = std::string(temp) + "qbrk_mirror_dialog_" + std::to_string(GetCurrentProcessId());
    ASSERT_TRUE(CreateDirectoryA(base_.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA((base_ + "\\Docs").c_str(), nullptr));
    shell_.set_folder(KnownFolder::kPersonal, base_ + "\\Docs");
    old_ = base_ + "\\Old";
    Settings(registry_).WriteMirror(old_);
  }
  void TearDown() override {
    for (const char* folder : {"\\Docs\\My Quellanbrook", "\\Docs", "\\Old", "\\New", ""}) {
      const std::string path = base_ + folder;
      SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
      RemoveDirectoryA(path.c_str());
    }
  }

  uint32_t Run(MirrorDialogMode mode, const std::function<void(HWND)>& drive) {
    return RunDialog([&] { return RunMirrorFolderDialog(env_, nullptr, mode); }, kTitle, drive);
  }
  std::string Stored() {
    std::string path;
    return Settings(registry_).ReadMirror(&path) ? path : "<none>";
  }

  FakeClock clock_;
  Win32FileSystem files_;
  MemoryRegistry registry_;
  RecordingHostWindow host_;
  FakeShell shell_{files_};
  MemoryStringTable strings_;
  Env env_{files_, registry_, clock_, host_, shell_, strings_};
  std::string base_;
  std::string old_;
};

TEST_F(MirrorFolderDialogTest, OpensOnTheStoredFolderAndOnlyOkWithANewFolderChangesIt) {
  EXPECT_EQ(Run(MirrorDialogMode::kCommand,
                [&](HWND dialog) {
                  EXPECT_EQ(TextOf(dialog, IDC_MIRROR_PATH), old_);
                  // Copying comes with the maintenance commands; the box promises nothing yet.
                  EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDC_MIRROR_COPY)));
                  EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6030_change"));
                  Click(dialog, IDCANCEL);
                }),
            0u);
  // OK on the current folder (vanished here) closes without re-creating it.
  EXPECT_EQ(Run(MirrorDialogMode::kCommand, [](HWND dialog) { Click(dialog, IDOK); }), 1u);
  EXPECT_FALSE(Exists(old_));

  const std::string chosen = base_ + "\\New";
  EXPECT_EQ(Run(MirrorDialogMode::kCommand,
                [&](HWND dialog) {
                  SetDlgItemTextA(dialog, IDC_MIRROR_PATH, (chosen + "\\").c_str());
                  Click(dialog, IDOK);
                }),
            1u);
  EXPECT_TRUE(Exists(chosen));
  EXPECT_EQ(Stored(), chosen);
}

TEST_F(MirrorFolderDialogTest, UnusableFolderIsReportedAndTheDialogStaysOpen) {
  EXPECT_EQ(Run(MirrorDialogMode::kCommand,
                [&](HWND dialog) {
                  SetDlgItemTextA(dialog, IDC_MIRROR_PATH, (base_ + "\\No\\Such").c_str());
                  PostClick(dialog, IDOK);
                  HWND error = test::WaitForDialog("Qbrook　エラーNo.95");
                  ASSERT_NE(error, nullptr);
                  EXPECT_EQ(TextOf(error, IDC_MESSAGE_TEXT), strings_.Load(162));
                  EXPECT_EQ(GetWindow(error, GW_OWNER), dialog);
                  Click(error, IDC_MESSAGE_BUTTON1);
                  EXPECT_TRUE(test::WaitUntilClosed(error));
                  EXPECT_TRUE(IsWindow(dialog));
                  Click(dialog, IDCANCEL);
                }),
            0u);
  EXPECT_EQ(Stored(), old_);
  EXPECT_FALSE(Exists(base_ + "\\No"));
}

TEST_F(MirrorFolderDialogTest, RepairMakesTheVanishedFolderAgainAndDefaultAndBrowseFillTheBox) {
  EXPECT_EQ(Run(MirrorDialogMode::kRepair, [](HWND dialog) { Click(dialog, IDOK); }), 1u);
  EXPECT_TRUE(Exists(old_));
  EXPECT_EQ(Stored(), old_);

  EXPECT_EQ(Run(MirrorDialogMode::kCommand,
                [&](HWND dialog) {
                  Click(dialog, IDC_MIRROR_DEFAULT);
                  EXPECT_EQ(TextOf(dialog, IDC_MIRROR_PATH), base_ + "\\Docs\\My Quellanbrook");
                  // The folder chosen in the browser goes into the box.
                  PostClick(dialog, IDC_MIRROR_BROWSE);
                  HWND browser = test::WaitForDialog("", dialog);
                  ASSERT_NE(browser, nullptr);
                  ASSERT_TRUE(test::SelectInBrowser(browser, base_ + "\\Docs"));
                  Click(browser, IDOK);
                  EXPECT_TRUE(test::WaitUntilClosed(browser));
                  EXPECT_EQ(TextOf(dialog, IDC_MIRROR_PATH), base_ + "\\Docs");
                  Click(dialog, IDCANCEL);
                }),
            0u);
  EXPECT_FALSE(Exists(base_ + "\\Docs\\My Quellanbrook"));
}

}  // namespace
}  // namespace qbrk
