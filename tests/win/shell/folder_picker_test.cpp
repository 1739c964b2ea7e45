// The shell glue under Wine: the run-time loaded helpers, the shell's name for a folder and
// the folder browser, rooted or not, driven like a person would.
#include "shell/folder_picker.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/env.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/fake_shell.h"
#include "platform/memory/memory_registry.h"
#include "platform/memory/memory_string_table.h"
#include "platform/memory/recording_host_window.h"
#include "platform/win32/win32_file_system.h"
#include "settings/settings.h"
#include "shell/shell_helpers.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"

namespace qbrk {
namespace {

using test::Click;
using test::RunDialog;
using test::RunWithoutDialog;

// A folder of this process's own below the temporary folder, with one subfolder.
class ShellFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char temp[MAX_PATH] = {};
    ASSERT_NE(GetTempPathA(MAX_PATH, temp), 0u);
    root_ = std::string(temp) + "qbrk_picker_" + std::to_string(GetCurrentProcessId());
    sub_ = root_ + "\\公開フォルダ";
    ASSERT_TRUE(CreateDirectoryA(root_.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA(sub_.c_str(), nullptr));
  }
  void TearDown() override {
    RemoveDirectoryA(sub_.c_str());
    RemoveDirectoryA(root_.c_str());
  }

  std::string root_;
  std::string sub_;
};

TEST(ShellHelpersTest, LoadedFromTheSystemAndRefusedWhenAnyPartIsMissing) {
  ASSERT_NE(ShellHelpers(), nullptr);
  EXPECT_EQ(ShellHelpers(), ShellHelpers()) << "loaded once for the process";

  ShellHelperFunctions loaded;
  ASSERT_TRUE(LoadShellHelpers(ShellHelperSource(), &loaded));
  EXPECT_NE(loaded.bind_to_parent, nullptr);
  EXPECT_NE(loaded.str_ret_to_buf, nullptr);

  ShellHelperSource no_library;
  no_library.light_library = "QBRKMISSING.DLL";
  ShellHelperSource no_function;
  no_function.bind_to_parent = "SHBindToParentMissing";
  // A library without DllGetVersion cannot show that it is recent enough.
  ShellHelperSource unversioned;
  unversioned.shell_library = "KERNEL32.DLL";
  for (const ShellHelperSource& source : {no_library, no_function, unversioned}) {
    ShellHelperFunctions untouched;
    EXPECT_FALSE(LoadShellHelpers(source, &untouched));
    EXPECT_EQ(untouched.bind_to_parent, nullptr);
  }
}

TEST_F(ShellFolderTest, DisplayNameIsTheShellsNameForAnExistingFolder) {
  std::string name;
  ASSERT_TRUE(ShellDisplayName(sub_, &name));
  EXPECT_EQ(name, "公開フォルダ");
  EXPECT_FALSE(ShellDisplayName(root_ + "\\missing", &name));
  EXPECT_FALSE(ShellDisplayName("", &name));
}

TEST_F(ShellFolderTest, PickerIsRootedInTheMirrorFolderAndGivesTheChosenFolderOrNothing) {
  FakeClock clock;
  Win32FileSystem files;
  MemoryRegistry registry;
  RecordingHostWindow host;
  FakeShell shell(files);
  MemoryStringTable strings;
  Env env{files, registry, clock, host, shell, strings};
  Settings(registry).WriteMirror(root_);

  std::string chosen;
  const uint32_t picked = RunDialog(
      [&] { return PickFolderInMirror(env, nullptr, "公開するフォルダ", &chosen) ? 1u : 0u; }, "",
      [&](HWND dialog) {
        ASSERT_TRUE(test::SelectInBrowser(dialog, sub_));
        EXPECT_TRUE(test::SaveScreenshot(dialog, "folder_picker"));
        Click(dialog, IDOK);
      });
  EXPECT_EQ(picked, 1u);
  EXPECT_EQ(chosen, sub_);

  chosen = "kept";
  const uint32_t cancelled =
      RunDialog([&] { return BrowseForFolder(nullptr, "x", "", root_, &chosen) ? 1u : 0u; }, "",
                [](HWND dialog) { Click(dialog, IDCANCEL); });
  EXPECT_EQ(cancelled, 0u);
  EXPECT_EQ(chosen, "kept");

  // A root the shell does not know would let the user roam anywhere: nothing is shown.
  Settings(registry).WriteMirror(root_ + "\\missing");
  EXPECT_EQ(RunWithoutDialog(
                [&] { return PickFolderInMirror(env, nullptr, "x", &chosen) ? 1u : 0u; }, ""),
            0u);
  EXPECT_EQ(
      RunWithoutDialog(
          [&] { return BrowseForFolder(nullptr, "x", root_ + "\\missing", "", &chosen) ? 1u : 0u; },
          ""),
      0u);
}

}  // namespace
}  // namespace qbrk
