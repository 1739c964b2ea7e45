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
using Commands = std::vector<RecordingHostWindow::Command>;
const RecordingHostWindow::Command kAnimationOff{false, IDC_HOST_ANIMATION_OFF, 0};

class MirrorFolderTest : public ::testing::Test {
 protected:
  std::string StoredMirror() const {
    const MemoryRegistry::Value* value = t_.registry.Find(kUser, kSettingsKey, "Mirror");
    return value ? std::string(value->data.begin(), value->data.end()) : "<none>";
  }
  bool Resolve(bool interactive, const MirrorFolderRepair& repair) {
    return ResolveMirrorFolder(t_.env, interactive, repair, &path_);
  }
  // A repair that records what it was shown and answers `answer`.
  MirrorFolderRepair Asker(bool answer) {
    return [this, answer](const std::string& gone) { return shown_.push_back(gone), answer; };
  }
  testing::TwinEnv t_;
  std::string path_;
  std::vector<std::string> shown_;
};

TEST_F(MirrorFolderTest, FirstRunCreatesAndStoresTheDefaultThenTheAttributeAloneConfirmsIt) {
  ASSERT_TRUE(Resolve(false, nullptr));
  EXPECT_EQ(path_, kDefaultMirror);
  EXPECT_EQ(StoredMirror(), kDefaultMirror + std::string(1, '\0'));
  uint32_t attributes = 0;
  ASSERT_EQ(t_.files.GetAttributes(kDefaultMirror, &attributes), 0u);
  EXPECT_EQ(attributes, file_attr::kDirectory | file_attr::kReadOnly);

  std::vector<Op> ops;
  t_.files.set_fault([&ops](Op op, const std::string&) { return ops.push_back(op), 0u; });
  ASSERT_TRUE(Resolve(true, nullptr));
  EXPECT_EQ(path_, kDefaultMirror);
  EXPECT_EQ(ops, std::vector<Op>{Op::kSetAttributes});
  EXPECT_TRUE(t_.host.commands().empty());

  // An empty value counts as none; documents ending in a backslash get no second one, and
  // an existing folder is taken as it is.
  t_.files.AddDrive('D');
  ASSERT_TRUE(t_.files.WriteWholeFile("D:\\Docs\\My Quellanbrook\\kept.txt", "x"));
  t_.shell.set_folder(KnownFolder::kPersonal, "D:\\Docs\\");
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "");
  ASSERT_TRUE(Resolve(false, nullptr));
  EXPECT_EQ(path_, "D:\\Docs\\My Quellanbrook");
  EXPECT_TRUE(t_.files.Exists("D:\\Docs\\My Quellanbrook\\kept.txt"));
}

TEST_F(MirrorFolderTest, FirstRunFailsWhenTheDefaultCannotBeMadeOrStored) {
  ASSERT_TRUE(t_.files.WriteWholeFile(kDefaultMirror, "a file in the way"));
  EXPECT_FALSE(Resolve(true, nullptr));
  EXPECT_EQ(StoredMirror(), "<none>");
  t_.shell.remove_folder(KnownFolder::kPersonal);
  EXPECT_FALSE(Resolve(true, nullptr));
  testing::TwinEnv locked;
  locked.registry.FailKey(kUser, kSettingsKey, sys_error::kAccessDenied);
  EXPECT_FALSE(ResolveMirrorFolder(locked.env, false, nullptr, &path_));
  EXPECT_EQ(t_.host.commands(), Commands(2, kAnimationOff));
  EXPECT_EQ(locked.host.commands(), Commands{kAnimationOff});
}

TEST_F(MirrorFolderTest, VanishedOrDamagedFolderGoesToTheUserNeverToSilentCreation) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Gone");
  EXPECT_FALSE(Resolve(false, Asker(true)));  // a non-interactive call never asks
  EXPECT_FALSE(Resolve(true, nullptr));
  EXPECT_FALSE(Resolve(true, Asker(false)));
  t_.registry.Put(kUser, kSettingsKey, "Mirror", reg_type::kString, std::vector<uint8_t>(300, 'C'));
  EXPECT_FALSE(Resolve(true, Asker(false)));
  EXPECT_EQ(shown_, (std::vector<std::string>{"C:\\Gone", ""}));
  EXPECT_FALSE(t_.files.Exists("C:\\Gone") || t_.files.Exists(kDefaultMirror));
  EXPECT_EQ(StoredMirror(), std::string(300, 'C'));
  EXPECT_EQ(t_.host.commands(), Commands(4, kAnimationOff));

  // A repair that stores an existing folder starts the resolution again.
  ASSERT_EQ(t_.files.MakeDirectory("C:\\Chosen"), 0u);
  Settings settings(t_.registry);
  ASSERT_TRUE(
      Resolve(true, [&](const std::string&) { return settings.WriteMirror("C:\\Chosen"); }));
  EXPECT_EQ(path_, "C:\\Chosen");
}

TEST_F(MirrorFolderTest, OnlyMissingOrForbiddenFoldersAreRepairedAndNotForever) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Mirror");
  for (SysError error : {2u, 3u, 5u, 32u, 123u}) {
    t_.files.set_fault(
        [error](Op op, const std::string&) { return op == Op::kSetAttributes ? error : 0u; });
    shown_.clear();
    EXPECT_FALSE(Resolve(true, Asker(false)));
    EXPECT_EQ(shown_.size(), error <= 5 ? 1u : 0u) << error;
  }
  // A user who keeps choosing folders that vanish is asked each time, a bounded number.
  t_.files.set_fault(nullptr);
  shown_.clear();
  EXPECT_FALSE(Resolve(true, Asker(true)));
  EXPECT_EQ(shown_.size(), static_cast<size_t>(kMaxMirrorRepairRounds));
  // Only Animation 0 silences the notice.
  t_.host.clear();
  for (uint32_t animation : {0u, 2u}) {
    t_.registry.PutDword(kUser, kSettingsKey, "Animation", animation);
    EXPECT_FALSE(Resolve(false, nullptr));
  }
  EXPECT_EQ(t_.host.commands(), Commands{kAnimationOff});
}

TEST(DataFolderTest, CreatesEachComponentAndNamesTheTableFile) {
  testing::TwinEnv t;
  t.shell.set_folder(KnownFolder::kLocalAppData, "C:\\Local\\");
  ASSERT_TRUE(t.files.WriteWholeFile("C:\\Local\\Halvorn\\other.txt", "kept"));
  std::string path;
  ASSERT_TRUE(TableFilePath(t.env, &path));
  EXPECT_EQ(path, "C:\\Local\\Halvorn\\Quellanbrook\\1.0\\.Qbrook.dir");
  EXPECT_TRUE(t.files.Exists("C:\\Local\\Halvorn\\Quellanbrook\\1.0"));
  ASSERT_TRUE(ResolveDataFolder(t.env, &path));  // existing folders are fine

  ASSERT_EQ(t.files.RemoveEmptyDirectory("C:\\Local\\Halvorn\\Quellanbrook\\1.0"), 0u);
  ASSERT_TRUE(t.files.WriteWholeFile("C:\\Local\\Halvorn\\Quellanbrook\\1.0", "a file"));
  EXPECT_FALSE(ResolveDataFolder(t.env, &path));
  t.shell.remove_folder(KnownFolder::kLocalAppData);
  EXPECT_FALSE(ResolveDataFolder(t.env, &path));
}

}  // namespace
}  // namespace qbrk
