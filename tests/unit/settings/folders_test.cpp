#include "settings/folders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings/settings.h"
#include "settings/twin_env.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr char kDefaultMirror[] = "C:\\Users\\taro\\Documents\\My Quellanbrook";

using Op = MemoryFileSystem::Op;
using Command = RecordingHostWindow::Command;
const Command kAnimationOff{false, IDC_HOST_ANIMATION_OFF, 0};

class MirrorFolderTest : public ::testing::Test {
 protected:
  std::string StoredMirror() const {
    const MemoryRegistry::Value* value = t_.registry.Find(kUser, kSettingsKey, "Mirror");
    if (!value) return "<none>";
    EXPECT_EQ(value->type, reg_type::kString);
    EXPECT_FALSE(value->data.empty());
    EXPECT_EQ(value->data.back(), 0) << "stored with its terminator";
    return std::string(value->data.begin(), value->data.end() - 1);
  }
  // Records every file-system call from now on.
  void RecordOps() {
    t_.files.set_fault([this](Op op, const std::string& path) {
      ops_.push_back({op, path});
      return sys_error::kSuccess;
    });
  }
  bool Resolve(bool interactive, const MirrorFolderRepair& repair, std::string* path) {
    return ResolveMirrorFolder(t_.env, interactive, repair, path);
  }

  testing::TwinEnv t_;
  std::vector<std::pair<Op, std::string>> ops_;
};

TEST_F(MirrorFolderTest, FirstRunCreatesAndStoresTheDefaultThenTheAttributeAloneConfirmsIt) {
  std::string path;
  ASSERT_TRUE(Resolve(false, nullptr, &path));
  EXPECT_EQ(path, kDefaultMirror);
  EXPECT_EQ(StoredMirror(), kDefaultMirror);
  uint32_t attributes = 0;
  ASSERT_EQ(t_.files.GetAttributes(kDefaultMirror, &attributes), 0u);
  EXPECT_TRUE(attributes & file_attr::kDirectory);
  EXPECT_TRUE(attributes & file_attr::kReadOnly);
  EXPECT_TRUE(t_.host.commands().empty());

  RecordOps();
  std::string again;
  ASSERT_TRUE(Resolve(true, nullptr, &again));
  EXPECT_EQ(again, kDefaultMirror);
  ASSERT_EQ(ops_.size(), 1u);
  EXPECT_EQ(ops_[0].first, Op::kSetAttributes);
  EXPECT_EQ(ops_[0].second, kDefaultMirror);
}

TEST_F(MirrorFolderTest, DefaultFolderJoinsDocumentsWithOneBackslashAndAcceptsAnExistingOne) {
  t_.shell.set_folder(KnownFolder::kPersonal, "D:\\Docs\\");
  t_.files.AddDrive('D');
  ASSERT_TRUE(t_.files.WriteWholeFile("D:\\Docs\\My Quellanbrook\\kept.txt", "x"));
  std::string path;
  ASSERT_TRUE(Resolve(false, nullptr, &path));
  EXPECT_EQ(path, "D:\\Docs\\My Quellanbrook");
  EXPECT_EQ(StoredMirror(), "D:\\Docs\\My Quellanbrook");
  EXPECT_TRUE(t_.files.Exists("D:\\Docs\\My Quellanbrook\\kept.txt"));

  // An empty value counts as none.
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "");
  ASSERT_TRUE(Resolve(false, nullptr, &path));
  EXPECT_EQ(StoredMirror(), "D:\\Docs\\My Quellanbrook");
}

TEST_F(MirrorFolderTest, FirstRunFailsWhenTheDefaultCannotBeMadeOrStored) {
  std::string path = "untouched";
  ASSERT_TRUE(t_.files.WriteWholeFile(std::string(kDefaultMirror), "a file in the way"));
  EXPECT_FALSE(Resolve(true, nullptr, &path));
  EXPECT_EQ(StoredMirror(), "<none>");
  EXPECT_EQ(path, "untouched");
  EXPECT_EQ(t_.host.commands(), std::vector<Command>{kAnimationOff});

  testing::TwinEnv no_documents;
  no_documents.shell.remove_folder(KnownFolder::kPersonal);
  EXPECT_FALSE(ResolveMirrorFolder(no_documents.env, true, nullptr, &path));

  testing::TwinEnv locked;
  locked.registry.FailKey(kUser, kSettingsKey, sys_error::kAccessDenied);
  EXPECT_FALSE(ResolveMirrorFolder(locked.env, false, nullptr, &path));
  EXPECT_EQ(locked.host.commands(), std::vector<Command>{kAnimationOff});
}

TEST_F(MirrorFolderTest, VanishedFolderIsNeverRecreatedSilently) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Gone\\Mirror");
  std::string path;
  int asked = 0;
  EXPECT_FALSE(Resolve(
      false, [&](const std::string&) { return ++asked, true; }, &path));
  EXPECT_EQ(asked, 0) << "a non-interactive call never asks";
  EXPECT_FALSE(Resolve(true, nullptr, &path));

  std::vector<std::string> shown;
  EXPECT_FALSE(Resolve(
      true,
      [&](const std::string& gone) {
        shown.push_back(gone);
        return false;
      },
      &path));
  EXPECT_EQ(shown, std::vector<std::string>{"C:\\Gone\\Mirror"});
  EXPECT_FALSE(t_.files.Exists("C:\\Gone\\Mirror"));
  EXPECT_FALSE(t_.files.Exists(kDefaultMirror));
  EXPECT_EQ(StoredMirror(), "C:\\Gone\\Mirror");
  EXPECT_EQ(t_.host.commands(), std::vector<Command>(3, kAnimationOff));
}

TEST_F(MirrorFolderTest, RepairThatStoresANewFolderRestartsTheResolution) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Gone");
  ASSERT_EQ(t_.files.MakeDirectory("C:\\Chosen"), 0u);
  Settings settings(t_.registry);
  int asked = 0;
  std::string path;
  ASSERT_TRUE(Resolve(
      true,
      [&](const std::string&) {
        ++asked;
        return settings.WriteMirror("C:\\Chosen");
      },
      &path));
  EXPECT_EQ(path, "C:\\Chosen");
  EXPECT_EQ(asked, 1);
  EXPECT_TRUE(t_.host.commands().empty());
}

TEST_F(MirrorFolderTest, OnlyMissingOrForbiddenFoldersAreRepaired) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Mirror");
  for (SysError error : {2u, 3u, 5u, 32u, 123u}) {
    t_.files.set_fault([error](Op op, const std::string&) {
      return op == Op::kSetAttributes ? error : sys_error::kSuccess;
    });
    int asked = 0;
    std::string path;
    EXPECT_FALSE(Resolve(
        true, [&](const std::string&) { return ++asked, false; }, &path));
    EXPECT_EQ(asked, error == 2 || error == 3 || error == 5 ? 1 : 0) << error;
  }
}

TEST_F(MirrorFolderTest, AUserWhoKeepsChoosingVanishingFoldersIsAskedEachTimeButNotForever) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Gone");
  int asked = 0;
  std::string path;
  EXPECT_FALSE(Resolve(
      true, [&](const std::string&) { return ++asked, true; }, &path));
  EXPECT_EQ(asked, kMaxMirrorRepairRounds);
  EXPECT_EQ(t_.host.commands(), std::vector<Command>{kAnimationOff});
}

TEST_F(MirrorFolderTest, DamagedMirrorValueGoesToTheUserInsteadOfTheDefault) {
  t_.registry.Put(kUser, kSettingsKey, "Mirror", reg_type::kString, std::vector<uint8_t>(300, 'C'));
  std::vector<std::string> shown;
  std::string path;
  EXPECT_FALSE(Resolve(
      true,
      [&](const std::string& gone) {
        shown.push_back(gone);
        return false;
      },
      &path));
  EXPECT_EQ(shown, std::vector<std::string>{""});
  EXPECT_FALSE(Resolve(false, nullptr, &path));
  EXPECT_FALSE(t_.files.Exists(kDefaultMirror));
  EXPECT_EQ(t_.registry.Find(kUser, kSettingsKey, "Mirror")->data.size(), 300u);
}

TEST_F(MirrorFolderTest, AnimationZeroSilencesTheFailureNotice) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Gone");
  std::string path;
  t_.registry.PutDword(kUser, kSettingsKey, "Animation", 0);
  EXPECT_FALSE(Resolve(false, nullptr, &path));
  EXPECT_TRUE(t_.host.commands().empty());
  t_.registry.PutDword(kUser, kSettingsKey, "Animation", 2);
  EXPECT_FALSE(Resolve(false, nullptr, &path));
  t_.registry.Put(kUser, kSettingsKey, "Animation", reg_type::kDword, {0, 0});
  EXPECT_FALSE(Resolve(false, nullptr, &path));
  EXPECT_EQ(t_.host.commands(), std::vector<Command>(2, kAnimationOff));
}

TEST(DataFolderTest, CreatesEachComponentAndNamesTheTableFile) {
  testing::TwinEnv t;
  t.shell.set_folder(KnownFolder::kLocalAppData, "C:\\Local\\");
  ASSERT_TRUE(t.files.WriteWholeFile("C:\\Local\\Halvorn\\other.txt", "kept"));
  std::string path;
  ASSERT_TRUE(ResolveDataFolder(t.env, &path));
  EXPECT_EQ(path, "C:\\Local\\Halvorn\\Quellanbrook\\1.0");
  uint32_t attributes = 0;
  ASSERT_EQ(t.files.GetAttributes(path, &attributes), 0u);
  EXPECT_TRUE(attributes & file_attr::kDirectory);
  ASSERT_TRUE(ResolveDataFolder(t.env, &path));  // all exist now: still fine
  ASSERT_TRUE(TableFilePath(t.env, &path));
  EXPECT_EQ(path, "C:\\Local\\Halvorn\\Quellanbrook\\1.0\\.Qbrook.dir");
}

TEST(DataFolderTest, AnyFailureOtherThanAnExistingFolderFails) {
  testing::TwinEnv file_in_way;
  ASSERT_TRUE(file_in_way.files.WriteWholeFile(
      "C:\\Users\\taro\\AppData\\Local\\Halvorn\\Quellanbrook", "not a folder"));
  std::string path = "untouched";
  EXPECT_FALSE(ResolveDataFolder(file_in_way.env, &path));
  EXPECT_FALSE(TableFilePath(file_in_way.env, &path));
  EXPECT_EQ(path, "untouched");

  testing::TwinEnv denied;
  denied.files.set_fault([](Op op, const std::string& p) {
    return op == Op::kMakeDirectory && p.find("1.0") != std::string::npos ? sys_error::kAccessDenied
                                                                          : sys_error::kSuccess;
  });
  EXPECT_FALSE(ResolveDataFolder(denied.env, &path));

  testing::TwinEnv no_folder;
  no_folder.shell.remove_folder(KnownFolder::kLocalAppData);
  EXPECT_FALSE(ResolveDataFolder(no_folder.env, &path));
}

}  // namespace
}  // namespace qbrk
