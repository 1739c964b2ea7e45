#include "shell/startup_shortcut.h"

#include <gtest/gtest.h>

#include <string>

#include "settings/twin_env.h"

namespace qbrk {
namespace {

constexpr char kStartup[] =
    "C:\\Users\\taro\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Startup";

class StartupShortcutTest : public ::testing::Test {
 protected:
  StartupShortcutTest() {
    std::string folder;
    t_.shell.GetFolderPath(KnownFolder::kStartup, true, &folder);
  }
  testing::TwinEnv t_;
};

TEST_F(StartupShortcutTest, LinkPathHasExactlyOneBackslashBeforeTheName) {
  std::string link;
  ASSERT_TRUE(StartupLinkPath(t_.shell, &link));
  EXPECT_EQ(link, std::string(kStartup) + "\\Qbrook.LNK");
  ASSERT_EQ(t_.files.MakeDirectory("C:\\Startup"), 0u);
  ASSERT_EQ(t_.files.MakeDirectory("C:\\\x83\x5C"), 0u);
  t_.shell.set_folder(KnownFolder::kStartup, "C:\\Startup\\");
  ASSERT_TRUE(StartupLinkPath(t_.shell, &link));
  EXPECT_EQ(link, "C:\\Startup\\Qbrook.LNK");
  // "ソ" ends in the byte 0x5C, which is not a backslash there.
  t_.shell.set_folder(KnownFolder::kStartup, "C:\\\x83\x5C");
  ASSERT_TRUE(StartupLinkPath(t_.shell, &link));
  EXPECT_EQ(link, "C:\\\x83\x5C\\Qbrook.LNK");
  t_.shell.remove_folder(KnownFolder::kStartup);
  EXPECT_FALSE(StartupLinkPath(t_.shell, &link));
}

TEST_F(StartupShortcutTest, CreateExistsDeleteCycle) {
  EXPECT_FALSE(StartupShortcutExists(t_.shell, t_.files));
  t_.shell.set_program_path("D:\\Tools\\hvqbrkut.exe");
  ASSERT_TRUE(CreateStartupShortcut(t_.shell));
  EXPECT_TRUE(StartupShortcutExists(t_.shell, t_.files));
  const std::string link = std::string(kStartup) + "\\Qbrook.LNK";
  ASSERT_EQ(t_.shell.shortcuts().count(link), 1u);
  const ShortcutSpec& spec = t_.shell.shortcuts().at(link);
  EXPECT_EQ(spec.target, "D:\\Tools\\hvqbrkut.exe");
  EXPECT_EQ(spec.description, "");
  EXPECT_EQ(spec.icon_path, "");
  EXPECT_EQ(spec.icon_index, 0);
  EXPECT_EQ(spec.show_command, 1);

  EXPECT_TRUE(DeleteStartupShortcut(t_.shell, t_.files));
  EXPECT_FALSE(StartupShortcutExists(t_.shell, t_.files));
  EXPECT_FALSE(DeleteStartupShortcut(t_.shell, t_.files));
}

TEST_F(StartupShortcutTest, OnlyTheTrayToolMayCreateIt) {
  for (const char* program : {"C:\\Windows\\explorer.exe", "C:\\x\\NOTHVQBRKUT.EXE", "HVQBRKUT.EXE",
                              "C:\\x\\HVQBRKUT.EXE.bak",
                              // the last part is "ソHVQBRKUT.EXE": 0x5C is a trail byte
                              "C:\\\x83\x5CHVQBRKUT.EXE"}) {
    t_.shell.set_program_path(program);
    EXPECT_FALSE(CreateStartupShortcut(t_.shell)) << program;
  }
  EXPECT_TRUE(t_.shell.shortcuts().empty());
  EXPECT_TRUE(t_.files.List(std::string(kStartup) + "\\").empty());
}

TEST_F(StartupShortcutTest, WithoutAStartupFolderNothingExistsOrIsMade) {
  t_.shell.remove_folder(KnownFolder::kStartup);
  EXPECT_FALSE(StartupShortcutExists(t_.shell, t_.files));
  EXPECT_FALSE(CreateStartupShortcut(t_.shell));
  EXPECT_FALSE(DeleteStartupShortcut(t_.shell, t_.files));
  EXPECT_TRUE(t_.shell.shortcuts().empty());
}

}  // namespace
}  // namespace qbrk
