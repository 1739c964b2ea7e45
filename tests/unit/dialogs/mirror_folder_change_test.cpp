#include "dialogs/mirror_folder_change.h"

#include <gtest/gtest.h>

#include <string>

#include "settings/settings.h"
#include "settings/twin_env.h"

namespace qbrk {
namespace {

using Outcome = MirrorChange::Outcome;
using Op = MemoryFileSystem::Op;
using enum MirrorDialogMode;

class MirrorFolderChangeTest : public ::testing::Test {
 protected:
  MirrorChange Apply(MirrorDialogMode mode, const std::string& entered) {
    return ApplyMirrorFolderChange(t_.env, mode, current_, entered);
  }
  std::string Stored() {
    std::string path;
    return Settings(t_.registry).ReadMirror(&path) ? path : "<none>";
  }
  uint32_t Attributes(const std::string& path) {
    uint32_t attributes = 0;
    return t_.files.GetAttributes(path, &attributes) == 0 ? attributes : 0;
  }

  testing::TwinEnv t_;
  const std::string current_ = "C:\\Old Mirror";  // vanished
};

TEST_F(MirrorFolderChangeTest, CommandLeavesTheCurrentFolderAloneAndOtherFoldersAreMadeAndStored) {
  for (const char* same : {"C:\\Old Mirror", "c:\\old mirror\\", "C:\\Old Mirror  "})
    EXPECT_EQ(Apply(kCommand, same).outcome, Outcome::kUnchanged) << same;
  EXPECT_FALSE(t_.files.Exists(current_));
  EXPECT_EQ(Stored(), "<none>");

  // A repair makes even the current folder again.
  EXPECT_EQ(Apply(kRepair, "C:\\Old Mirror\\").outcome, Outcome::kChanged);
  EXPECT_EQ(Attributes(current_), file_attr::kDirectory | file_attr::kReadOnly);
  EXPECT_EQ(Stored(), current_);

  // An existing folder keeps its content; a drive root keeps its backslash.
  ASSERT_TRUE(t_.files.WriteWholeFile("C:\\Kept\\data.txt", "x"));
  EXPECT_EQ(Apply(kCommand, "C:\\Kept").outcome, Outcome::kChanged);
  EXPECT_EQ(Stored(), "C:\\Kept");
  EXPECT_TRUE(t_.files.Exists("C:\\Kept\\data.txt"));
  EXPECT_EQ(Apply(kCommand, "C:\\").path, "C:\\");
}

TEST_F(MirrorFolderChangeTest, UnusableFoldersAreRejectedAndTheSettingKeepsItsValue) {
  Settings(t_.registry).WriteMirror(current_);
  ASSERT_TRUE(t_.files.WriteWholeFile("C:\\A File", "in the way"));
  const std::string too_long = "C:\\" + std::string(257, 'a');
  for (const std::string& entered :
       {std::string(""), std::string("relative\\folder"), std::string("C:"),
        std::string("C:\\No Parent\\Child"), std::string("C:\\A File"), too_long}) {
    const MirrorChange change = Apply(kCommand, entered);
    EXPECT_EQ(change.outcome, Outcome::kRejected) << entered;
    EXPECT_EQ(change.error, result::kFolderUnusable) << entered;
  }
  t_.files.set_fault([](Op op, const std::string&) {
    return op == Op::kSetAttributes ? sys_error::kAccessDenied : 0u;
  });
  EXPECT_EQ(Apply(kCommand, "C:\\Locked").error, result::kFolderUnusable);
  t_.files.set_fault(nullptr);
  EXPECT_EQ(Stored(), current_);

  t_.registry.FailKey(RegistryRoot::kCurrentUser, kSettingsKey, sys_error::kAccessDenied);
  EXPECT_EQ(Apply(kCommand, "C:\\Unstored").error, result::kGeneralFailure);
}

TEST_F(MirrorFolderChangeTest, DialogOpensWithTheStoredFolderElseTheDefault) {
  EXPECT_EQ(InitialMirrorPath(t_.env), "C:\\Users\\taro\\Documents\\My Quellanbrook");
  EXPECT_FALSE(t_.files.Exists("C:\\Users\\taro\\Documents\\My Quellanbrook"));
  t_.shell.set_folder(KnownFolder::kPersonal, "C:\\Docs\\");
  std::string path;
  ASSERT_TRUE(DefaultMirrorPath(t_.shell, &path));
  EXPECT_EQ(path, "C:\\Docs\\My Quellanbrook");
  t_.shell.remove_folder(KnownFolder::kPersonal);
  EXPECT_EQ(InitialMirrorPath(t_.env), "");
  Settings(t_.registry).WriteMirror("E:\\Gone");
  EXPECT_EQ(InitialMirrorPath(t_.env), "E:\\Gone");
}

}  // namespace
}  // namespace qbrk
