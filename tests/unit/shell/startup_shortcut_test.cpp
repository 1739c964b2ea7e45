#include "shell/startup_shortcut.h"

#include <gtest/gtest.h>

#include <string>

#include "settings/twin_env.h"

namespace qbrk {
namespace {

TEST(StartupShortcutTest, LinkPathHasExactlyOneBackslashBeforeTheName) {
  testing::TwinEnv t;
  std::string link;
  // "ソ" ends in the byte 0x5C, which is not a backslash there.
  for (const auto& [folder, expected] :
       {std::pair<std::string, std::string>{"C:\\S", "C:\\S\\Qbrook.LNK"},
        {"C:\\S\\", "C:\\S\\Qbrook.LNK"},
        {"C:\\\x83\x5C", "C:\\\x83\x5C\\Qbrook.LNK"}}) {
    t.files.MakeDirectory(folder);
    t.shell.set_folder(KnownFolder::kStartup, folder);
    ASSERT_TRUE(StartupLinkPath(t.shell, &link));
    EXPECT_EQ(link, expected);
  }
  t.shell.remove_folder(KnownFolder::kStartup);
  EXPECT_FALSE(StartupLinkPath(t.shell, &link));
  EXPECT_FALSE(StartupShortcutExists(t.shell, t.files));
  EXPECT_FALSE(CreateStartupShortcut(t.shell));
  EXPECT_FALSE(DeleteStartupShortcut(t.shell, t.files));
}

TEST(StartupShortcutTest, OnlyTheTrayToolCreatesItAndDeletionRemovesIt) {
  testing::TwinEnv t;
  ASSERT_EQ(t.files.MakeDirectory("C:\\Startup"), 0u);
  t.shell.set_folder(KnownFolder::kStartup, "C:\\Startup");
  for (const char* program :
       {"C:\\Windows\\explorer.exe", "C:\\x\\NOTHVQBRKUT.EXE", "HVQBRKUT.EXE",
        "C:\\x\\HVQBRKUT.EXE.bak", "C:\\\x83\x5CHVQBRKUT.EXE"}) {  // last part "ソHVQBRKUT.EXE"
    t.shell.set_program_path(program);
    EXPECT_FALSE(CreateStartupShortcut(t.shell)) << program;
  }
  EXPECT_TRUE(t.files.List("C:\\Startup\\").empty());

  t.shell.set_program_path("D:\\Tools\\hvqbrkut.exe");
  ASSERT_TRUE(CreateStartupShortcut(t.shell));
  EXPECT_TRUE(StartupShortcutExists(t.shell, t.files));
  const ShortcutSpec& spec = t.shell.shortcuts().at("C:\\Startup\\Qbrook.LNK");
  EXPECT_EQ(spec.target, "D:\\Tools\\hvqbrkut.exe");
  EXPECT_EQ(spec.description + spec.icon_path, "");
  EXPECT_EQ(spec.icon_index, 0);
  EXPECT_EQ(spec.show_command, 1);
  EXPECT_TRUE(DeleteStartupShortcut(t.shell, t.files));
  EXPECT_FALSE(StartupShortcutExists(t.shell, t.files));
  EXPECT_FALSE(DeleteStartupShortcut(t.shell, t.files));
}

}  // namespace
}  // namespace qbrk
