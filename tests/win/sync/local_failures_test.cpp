// Local failures as the system reports them: a file another program holds open, a file in
// the way of a folder, paths too long for the system. Each stops the run with its code and
// the entry's name, and damages nothing.
#include <windows.h>

#include "platform/win32/unique_handle.h"
#include "sync_fixture.h"

namespace qbrk::test {
namespace {

class WineSyncLocalFailuresTest : public WineSyncScenario {
 protected:
  // Synchronizes while another program holds the file open and shares nothing: the run
  // stops with 94 and the file's name.
  void SyncWhileHeld(const std::string& path) {
    UniqueFile held(
        CreateFileA(Mirror(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held) << path;
    EXPECT_EQ(Sync(), 94u);
    EXPECT_EQ(error_name_, path);
  }
};

TEST_F(WineSyncLocalFailuresTest, AFileHeldOpenWithoutSharingIsNeitherReplacedNorDeleted) {
  LocalFile("held.txt", "v1", FileTimeOf(kBaseSeconds));
  LocalFile("gone.txt", "v1", FileTimeOf(kBaseSeconds));
  ASSERT_EQ(Sync(), 0u);
  const std::string synchronized = RecordTree();
  ASSERT_EQ(synchronized, "gone.txt 2\nheld.txt 2\n");

  // A download onto it: the new content arrives, but cannot take the file's place. (Wine
  // refuses that rename with 5 and the deletion below with 32; both mean the file is in use.)
  ServerFile("held.txt", "v2 from elsewhere", FileTimeOf(kBaseSeconds + 60));
  SyncWhileHeld("held.txt");
  EXPECT_EQ(LocalContent("held.txt"), "v1");
  EXPECT_EQ(RecordTree(), synchronized);
  EXPECT_EQ(RecordOf("held.txt").server_time(), FileTimeOf(kBaseSeconds));
  EXPECT_EQ(DiskTree(), (Tree{{"gone.txt", "v1"}, {"held.txt", "v2 from elsewhere"}}));

  // A local deletion of it.
  ASSERT_TRUE(DeleteFileA(DiskPath("gone.txt").c_str()));
  prompt_.Expect(ChoiceQuestion::kDeletedOnServer, "gone.txt", answer::kDeleteLocally);
  SyncWhileHeld("gone.txt");
  EXPECT_EQ(LocalContent("gone.txt"), "v1");
  EXPECT_EQ(RecordTree(), synchronized);

  // Once the other program has let go, the same run goes through.
  prompt_.Expect(ChoiceQuestion::kDeletedOnServer, "gone.txt", answer::kDeleteLocally);
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(LocalTree(), (Tree{{"held.txt", "v2 from elsewhere"}}));
  EXPECT_EQ(DiskTree(), (Tree{{"held.txt", "v2 from elsewhere"}}));
  EXPECT_EQ(RecordTree(), "held.txt 17\n");
  EXPECT_FALSE(HasWork());
}

TEST_F(WineSyncLocalFailuresTest, AFileThatAppearsWhereTheServerHasAFolderStopsTheRun) {
  ServerFile("docs/a.txt", "theirs", FileTimeOf(kBaseSeconds));
  // The local scan saw nothing there; the file appears while the user looks at the plan.
  EXPECT_EQ(Sync([&] { LocalFile("docs", "mine"); }), 99u);
  EXPECT_EQ(error_name_, "docs");
  EXPECT_EQ(LocalTree(), (Tree{{"docs", "mine"}}));
  EXPECT_EQ(DiskTree(), (Tree{{"docs/", ""}, {"docs/a.txt", "theirs"}}));
  EXPECT_EQ(RecordTree(), "");
  // Now each side has the name as another kind and neither was synchronized: both stay out
  // of every plan.
  EXPECT_FALSE(HasWork());
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(LocalTree(), (Tree{{"docs", "mine"}}));
  EXPECT_EQ(DiskTree(), (Tree{{"docs/", ""}, {"docs/a.txt", "theirs"}}));
}

class WineSyncLongPathTest : public WineSyncScenario {
 protected:
  // Two folders in a first one: "deep", whose local path is 240 characters long (its staging
  // names fit in 260, a name of 30 characters does not), and "near", 252 long (a name of 5
  // characters fits, its staging names do not). Wine's CreateDirectoryA takes paths up to
  // 260 characters; Windows stops at 248, so there "near" itself would fail with 91.
  void SetUp() override {
    WineSyncScenario::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    const std::string first(100, 'a');
    // "near" is listed, and so made, first.
    near_ = first + "/" + std::string(252 - mirror_.size() - 2 - first.size(), 'b') + "/";
    deep_ = first + "/" + std::string(240 - mirror_.size() - 2 - first.size(), 'c') + "/";
    ASSERT_EQ(Mirror(deep_).size(), 241u);
    ASSERT_EQ(DiskRequest("MKCOL", first + "/").status, 201u);
    ASSERT_EQ(DiskRequest("MKCOL", deep_).status, 201u);
    ASSERT_EQ(DiskRequest("MKCOL", near_).status, 201u);
    ASSERT_EQ(DiskRequest("PUT", deep_ + "fits.txt", "fits").status, 201u);
    in_step_ = {{first + "/", ""}, {deep_, ""}, {deep_ + "fits.txt", "fits"}, {near_, ""}};
    recorded_ = first + "/\n" + near_ + "\n" + deep_ + "\n" + deep_ + "fits.txt 4\n";
  }

  std::string deep_, near_;
  const std::string long_name_ = std::string(30, 'z');  // listed after fits.txt
  Tree in_step_;
  std::string recorded_;
};

TEST_F(WineSyncLongPathTest, ServerEntriesPastTheLocalPathLimitStopWith91) {
  // A file: its folders are made, the file fits nowhere. (Wine's MoveFileA would put it
  // there all the same, where no other call reaches it; Windows refuses with 206.)
  ASSERT_EQ(DiskRequest("PUT", deep_ + long_name_, "too long").status, 201u);
  const std::set<std::string> server = ServerPaths();
  EXPECT_EQ(Sync(), 91u);
  EXPECT_EQ(error_name_, long_name_);
  EXPECT_EQ(LocalTree(), in_step_);
  EXPECT_EQ(ServerPaths(), server);
  EXPECT_EQ(RecordTree(), recorded_);

  // A folder.
  ASSERT_EQ(DiskRequest("DELETE", deep_ + long_name_).status, 204u);
  ASSERT_EQ(DiskRequest("MKCOL", deep_ + long_name_ + "/").status, 201u);
  EXPECT_EQ(Sync(), 91u);
  EXPECT_EQ(error_name_, long_name_);
  EXPECT_EQ(LocalTree(), in_step_);
  EXPECT_EQ(RecordTree(), recorded_);

  // A file whose own path fits but whose staging name beside it does not: no staging file
  // may stay behind (TearDown looks for one however deep).
  ASSERT_EQ(DiskRequest("DELETE", deep_ + long_name_ + "/").status, 204u);
  ASSERT_EQ(DiskRequest("PUT", near_ + "a.txt", "near").status, 201u);
  EXPECT_EQ(Sync(), 91u);
  EXPECT_EQ(error_name_, "a.txt");
  EXPECT_EQ(LocalTree(), in_step_);
  EXPECT_EQ(RecordTree(), recorded_);

  ASSERT_EQ(DiskRequest("DELETE", near_ + "a.txt").status, 204u);
  EXPECT_FALSE(HasWork());
}

TEST_F(WineSyncLocalFailuresTest, ALocalFolderTooDeepForTheScanStopsWith92) {
  LocalFile("a.txt", "a");
  ASSERT_EQ(Sync(), 0u);
  // Made through the wide calls, which take longer paths than the ANSI ones.
  const std::wstring base = L"\\\\?\\" + std::wstring(mirror_.begin(), mirror_.end());
  const std::wstring first = base + L"\\" + std::wstring(100, L'd');
  const std::wstring deep = first + L"\\" + std::wstring(150, L'd');
  ASSERT_TRUE(CreateDirectoryW(first.c_str(), nullptr));
  ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
  LocalFile("b.txt", "b");

  EXPECT_EQ(Sync(), 92u);
  EXPECT_EQ(DiskTree(), (Tree{{"a.txt", "a"}}));
  EXPECT_EQ(RecordTree(), "a.txt 1\n");
  EXPECT_NE(GetFileAttributesW(deep.c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(LocalContent("b.txt"), "b");
}

}  // namespace
}  // namespace qbrk::test
