#include "dialogs/mirror_folder_change.h"

#include <gtest/gtest.h>

#include <string>

#include "settings/settings.h"
#include "settings/twin_env.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr char kDocuments[] = "C:\\Users\\taro\\Documents";
using Outcome = MirrorChange::Outcome;
using Op = MemoryFileSystem::Op;

class MirrorFolderChangeTest : public ::testing::Test {
 protected:
  MirrorChange Apply(MirrorDialogMode mode, const std::string& entered) {
    return ApplyMirrorFolderChange(t_.env, mode, current_, entered);
  }
  std::string Stored() {
    Settings settings(t_.registry);
    std::string path;
    return settings.ReadMirror(&path) ? path : "<none>";
  }
  uint32_t Attributes(const std::string& path) {
    uint32_t attributes = 0;
    return t_.files.GetAttributes(path, &attributes) == 0 ? attributes : 0;
  }

  testing::TwinEnv t_;
  std::string current_ = "C:\\Old Mirror";
};

TEST_F(MirrorFolderChangeTest, TheCurrentFolderIsLeftAloneByTheCommandButMadeAgainByARepair) {
  // The current folder has vanished: the command, given it again, touches nothing.
  for (const char* same : {"C:\\Old Mirror", "c:\\old mirror\\", "C:\\Old Mirror  "}) {
    const MirrorChange change = Apply(MirrorDialogMode::kCommand, same);
    EXPECT_EQ(change.outcome, Outcome::kUnchanged) << same;
  }
  EXPECT_FALSE(t_.files.Exists(current_));
  EXPECT_EQ(Stored(), "<none>");

  const MirrorChange repaired = Apply(MirrorDialogMode::kRepair, "C:\\Old Mirror\\");
  EXPECT_EQ(repaired.outcome, Outcome::kChanged);
  EXPECT_EQ(repaired.path, current_);
  EXPECT_EQ(Attributes(current_), file_attr::kDirectory | file_attr::kReadOnly);
  EXPECT_EQ(Stored(), current_);
}

TEST_F(MirrorFolderChangeTest, NewFolderIsCreatedMarkedAndStoredAndAnExistingOneIsTaken) {
  t_.files.AddDrive('D');
  EXPECT_EQ(Apply(MirrorDialogMode::kCommand, "D:\\New").outcome, Outcome::kChanged);
  EXPECT_EQ(Attributes("D:\\New"), file_attr::kDirectory | file_attr::kReadOnly);
  EXPECT_EQ(Stored(), "D:\\New");

  ASSERT_TRUE(t_.files.WriteWholeFile("D:\\Kept\\data.txt", "x"));
  EXPECT_EQ(Apply(MirrorDialogMode::kCommand, "D:\\Kept").outcome, Outcome::kChanged);
  EXPECT_EQ(Stored(), "D:\\Kept");
  EXPECT_TRUE(t_.files.Exists("D:\\Kept\\data.txt"));
  // A drive root keeps the backslash that makes it a root.
  EXPECT_EQ(Apply(MirrorDialogMode::kCommand, "D:\\").path, "D:\\");
}

TEST_F(MirrorFolderChangeTest, UnusableFoldersAreRejectedAndTheSettingKeepsItsValue) {
  Settings(t_.registry).WriteMirror(current_);
  ASSERT_TRUE(t_.files.WriteWholeFile("C:\\A File", "in the way"));
  const std::string too_long = "C:\\" + std::string(257, 'a');
  for (const std::string& entered :
       {std::string(""), std::string("relative\\folder"), std::string("C:"),
        std::string("C:\\No Parent\\Child"), std::string("C:\\A File"), too_long}) {
    SCOPED_TRACE(entered);
    const MirrorChange change = Apply(MirrorDialogMode::kCommand, entered);
    EXPECT_EQ(change.outcome, Outcome::kRejected);
    EXPECT_EQ(change.error, result::kFolderUnusable);
  }
  EXPECT_FALSE(t_.files.Exists(too_long));

  t_.files.set_fault([](Op op, const std::string&) {
    return op == Op::kSetAttributes ? sys_error::kAccessDenied : 0u;
  });
  EXPECT_EQ(Apply(MirrorDialogMode::kCommand, "C:\\Locked").error, result::kFolderUnusable);
  t_.files.set_fault(nullptr);
  EXPECT_EQ(Stored(), current_);

  t_.registry.FailKey(kUser, kSettingsKey, sys_error::kAccessDenied);
  EXPECT_EQ(Apply(MirrorDialogMode::kCommand, "C:\\Unstored").error, result::kGeneralFailure);
}

TEST_F(MirrorFolderChangeTest, DialogOpensWithTheStoredFolderElseTheDefault) {
  EXPECT_EQ(InitialMirrorPath(t_.env), std::string(kDocuments) + "\\My Quellanbrook");
  EXPECT_FALSE(t_.files.Exists(std::string(kDocuments) + "\\My Quellanbrook"));
  t_.files.AddDrive('D');
  t_.shell.set_folder(KnownFolder::kPersonal, "D:\\Docs\\");
  std::string path;
  ASSERT_TRUE(DefaultMirrorPath(t_.shell, &path));
  EXPECT_EQ(path, "D:\\Docs\\My Quellanbrook");
  t_.shell.remove_folder(KnownFolder::kPersonal);
  EXPECT_EQ(InitialMirrorPath(t_.env), "");
  Settings(t_.registry).WriteMirror("E:\\Gone");
  EXPECT_EQ(InitialMirrorPath(t_.env), "E:\\Gone");
}

}  // namespace
}  // namespace qbrk
