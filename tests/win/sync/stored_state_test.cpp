// What the file system really stores: times to the 100 ns, the server's whole seconds, the
// table file's attributes, and read-only files where a download or a save must replace them.
#include <windows.h>

#include <fstream>

#include "platform/win32/win32_env.h"
#include "sync/sync_table.h"
#include "sync_fixture.h"

namespace qbrk::test {
namespace {

using WineSyncStoredStateTest = WineSyncScenario;

constexpr DWORD kTableAttributes =
    FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

// Wine reports the archive bit on every file, whatever was set.
DWORD WithoutArchive(DWORD attributes) {
  return attributes & ~FILE_ATTRIBUTE_ARCHIVE;
}

TEST_F(WineSyncStoredStateTest, TheRecordHoldsTimesAsTheFileSystemStoresThem) {
  // Edited here at 09:07:03.7000123; changed on the server at 09:08:00.5, which the server
  // reports in whole seconds.
  const uint64_t local_time = FileTimeOf(kBaseSeconds) + 7 * kSecond / 10 + 123;
  const uint64_t server_time = FileTimeOf(kBaseSeconds + 57);
  LocalFile("mine/up.txt", "uploaded", local_time);
  ServerFile("theirs/down.txt", "downloaded", server_time + kSecond / 2);

  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.uploads, 1u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_EQ(stats_.serverFolderCreates, 1u);
  EXPECT_EQ(stats_.localFolderCreates, 1u);
  const Tree both = {{"mine/", ""},
                     {"mine/up.txt", "uploaded"},
                     {"theirs/", ""},
                     {"theirs/down.txt", "downloaded"}};
  EXPECT_EQ(LocalTree(), both);
  EXPECT_EQ(DiskTree(), both);
  EXPECT_EQ(RecordTree(), "mine/\nmine/up.txt 8\ntheirs/\ntheirs/down.txt 10\n");
  EXPECT_EQ(WithoutArchive(GetFileAttributesA(TablePath().c_str())), kTableAttributes);

  // The upload: its local time to the last 100 ns, the server's cut to whole seconds, which
  // is the time the emulator now keeps.
  const FileRecord up = RecordOf("mine/up.txt");
  ASSERT_TRUE(up);
  EXPECT_EQ(LocalFind("mine/up.txt").last_write_time, local_time);
  EXPECT_EQ(up.local_time(), local_time);
  EXPECT_EQ(up.server_time(), local_time - local_time % kSecond);
  EXPECT_EQ(DiskFind("mine/up.txt").last_write_time, up.server_time());
  EXPECT_EQ(up.attributes(), static_cast<uint32_t>(FILE_ATTRIBUTE_NORMAL));

  // The download carries the server's time as the server reports it, and the record has the
  // file's time and attributes as FindFirstFileA reports them.
  const FileRecord down = RecordOf("theirs/down.txt");
  ASSERT_TRUE(down);
  const FindData found = LocalFind("theirs/down.txt");
  EXPECT_EQ(found.last_write_time, server_time);
  EXPECT_EQ(down.local_time(), found.last_write_time);
  EXPECT_EQ(down.server_time(), server_time);
  EXPECT_EQ(down.attributes(), found.attributes);
  EXPECT_EQ(down.size(), found.size);

  EXPECT_FALSE(HasWork());
}

TEST_F(WineSyncStoredStateTest, ADownloadReplacesAReadOnlyLocalFile) {
  LocalFile("ro.txt", "first", FileTimeOf(kBaseSeconds));
  ASSERT_EQ(Sync(), 0u);
  ASSERT_TRUE(SetFileAttributesA(Mirror("ro.txt").c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_FALSE(HasWork()) << "attributes are not compared";

  // (Wine lets a rename replace a read-only file, which Windows refuses with 5: under Wine
  // this proves the outcome, not that the attribute is taken off first.)
  const uint64_t later = FileTimeOf(kBaseSeconds + 3600);
  ServerFile("ro.txt", "second version", later);
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_EQ(LocalTree(), (Tree{{"ro.txt", "second version"}}));
  EXPECT_EQ(DiskTree(), (Tree{{"ro.txt", "second version"}}));
  // The new file is the download's own: the attribute went with the old one.
  const FindData found = LocalFind("ro.txt");
  EXPECT_EQ(found.attributes & FILE_ATTRIBUTE_READONLY, 0u);
  EXPECT_EQ(found.last_write_time, later);
  const FileRecord record = RecordOf("ro.txt");
  ASSERT_TRUE(record);
  EXPECT_EQ(record.local_time(), later);
  EXPECT_EQ(record.server_time(), later);
  EXPECT_EQ(record.size(), 14u);
  EXPECT_FALSE(HasWork());
  // No staging file is left beside it (TearDown looks through the whole mirror folder).
}

TEST_F(WineSyncStoredStateTest, SavesReplaceTheReadOnlyTableFileAndALeftoverOfACrashedSave) {
  LocalFile("a.txt", "a");
  ASSERT_EQ(Sync(), 0u);
  ASSERT_EQ(RecordTree(), "a.txt 1\n");
  ASSERT_EQ(WithoutArchive(GetFileAttributesA(TablePath().c_str())), kTableAttributes);

  // The next save puts a new table in place of the read-only one.
  LocalFile("b.txt", "bb");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(RecordTree(), "a.txt 1\nb.txt 2\n");
  EXPECT_EQ(WithoutArchive(GetFileAttributesA(TablePath().c_str())), kTableAttributes);
  // The quota figures came from the emulator (5 GiB by default) with it.
  uint64_t quota = 0, used = 0, free = 0;
  ASSERT_EQ(ReadQuotaFromTableFile(Win32Env().files, TablePath(), &quota, &used, &free), 0u);
  EXPECT_EQ(quota, 5368709120u);
  EXPECT_EQ(quota, used + free);

  // A save that died after writing its new file and making it read-only left it behind;
  // the next save writes over it and puts it in place.
  const std::string leftover = TablePath() + ".new";
  {
    std::ofstream out(leftover, std::ios::binary);
    out << "half a table";
  }
  ASSERT_TRUE(SetFileAttributesA(leftover.c_str(), kTableAttributes));
  LocalFile("c.txt", "ccc");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(GetFileAttributesA(leftover.c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(RecordTree(), "a.txt 1\nb.txt 2\nc.txt 3\n");
  EXPECT_EQ(WithoutArchive(GetFileAttributesA(TablePath().c_str())), kTableAttributes);
  Tree data_folder;
  ReadTree(data_folder_ + "\\", "", &data_folder);
  EXPECT_EQ(data_folder.size(), 1u);
  EXPECT_EQ(data_folder.count(".Qbrook.dir"), 1u);
  EXPECT_EQ(DiskTree(), (Tree{{"a.txt", "a"}, {"b.txt", "bb"}, {"c.txt", "ccc"}}));
  EXPECT_FALSE(HasWork());
}

}  // namespace
}  // namespace qbrk::test
