// The entry table: record bytes, list order and lookups (with and without the index), the
// comparisons planning reads, and the exclusion list.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sync/folder_node.h"
#include "settings/registry_values.h"
#include "settings/settings.h"
#include "sync/sync_table.h"
#include "settings/twin_env.h"

namespace qbrk {
namespace {

FileEntry* NewFile(const std::string& name, uint64_t size = 0, uint64_t local = 0,
                   uint64_t server = 0) {
  FileRecord record = FileRecord::WithName(name);
  record.set_size(size);
  record.set_local_time(local);
  record.set_server_time(server);
  return new FileEntry(std::move(record));
}

std::vector<std::string> FileNames(const FolderNode& folder) {
  std::vector<std::string> names;
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f))
    names.emplace_back(f->name());
  return names;
}

TEST(FileRecordTest, BytesAreTheTableFilesRecordWithTheSizeHighHalfFirst) {
  FindData data;
  data.attributes = 0x21;
  data.size = 0x0000000500000007ULL;
  data.last_write_time = 0x0102030405060708ULL;
  data.name = "ab";
  const FileRecord record = FileRecord::FromFindData(data);
  ASSERT_TRUE(record);
  const std::vector<uint8_t> expected = {
      51, 0, 0, 0,  0x21, 0, 0, 0,  5, 0, 0, 0,  7, 0, 0, 0,        // length, attributes, size
      8, 7, 6, 5, 4, 3, 2, 1,  0, 0, 0, 0, 0, 0, 0, 0,              // local time, server time
      0, 0, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0,  'a', 'b', 0};
  EXPECT_EQ(std::vector<uint8_t>(record.bytes(), record.bytes() + record.length()), expected);

  FindData item;
  item.attributes = 16;
  item.size = 9;
  item.last_write_time = 77;
  item.name = "d";
  const FileRecord listed = FileRecord::FromListingItem(item);
  EXPECT_EQ(listed.attributes(), 16u);
  EXPECT_EQ(listed.server_time(), 77u);
  EXPECT_EQ(listed.local_time(), 0u);
  EXPECT_EQ(listed.size(), 9u);
  const FileRecord copy = listed.Copy();
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(copy.bytes()), copy.length()),
            std::string(reinterpret_cast<const char*>(listed.bytes()), listed.length()));
}

TEST(FileRecordTest, TheNameEndsAtItsFirstNulAsInTheSavedBytes) {
  const FileRecord record = FileRecord::WithName(std::string("a\0b", 3));
  ASSERT_TRUE(record);
  EXPECT_EQ(record.length(), 52u);
  EXPECT_EQ(record.name(), "a");
  EXPECT_EQ(FileRecord::FromBytes(record.bytes(), record.length()).name(), "a");
  EXPECT_EQ(record.Copy().name(), "a");
  EXPECT_EQ(FileRecord::WithName("").name(), "");
}

TEST(FileEntryTest, NewHoldsItsOwnCopyOfTheRecordThatOutlivesItWhenMovedOut) {
  FindData data;
  data.size = 0x0000000300000004ULL;
  data.last_write_time = 77;
  data.name = "photo-2002-03-05.jpg";
  const FileRecord record = FileRecord::FromFindData(data);
  std::unique_ptr<FileEntry> entry(FileEntry::New(record));
  ASSERT_NE(entry, nullptr);
  const FileRecord& held = entry->record();
  ASSERT_TRUE(held);
  EXPECT_NE(held.bytes(), record.bytes());
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(held.bytes()), held.length()),
            std::string(reinterpret_cast<const char*>(record.bytes()), record.length()));
  EXPECT_EQ(entry->name(), "photo-2002-03-05.jpg");
  entry->record().set_local_time(99);
  EXPECT_EQ(record.local_time(), 77u);

  // Taken out of the entry, the record is a copy of its own.
  FileRecord taken = std::move(entry->record());
  entry.reset();
  ASSERT_TRUE(taken);
  EXPECT_EQ(taken.name(), "photo-2002-03-05.jpg");
  EXPECT_EQ(taken.local_time(), 99u);
  EXPECT_EQ(taken.size(), 0x0000000300000004ULL);

  // A record put in place of the held one is freed with the entry.
  std::unique_ptr<FileEntry> replaced(FileEntry::New(record));
  ASSERT_NE(replaced, nullptr);
  replaced->record() = FileRecord::WithName("other");
  EXPECT_EQ(replaced->name(), "other");

  // Entries of both kinds live in folders and leave them alike.
  FolderNode folder;
  folder.AddFile(FileEntry::New(record));
  folder.AddFile(new FileEntry(record.Copy()));
  std::unique_ptr<FileEntry> none(FileEntry::New(FileRecord()));
  ASSERT_NE(none, nullptr);
  EXPECT_FALSE(none->record());
  folder.RemoveFile(folder.FindFile(nullptr));
  EXPECT_EQ(folder.file_count(), 1u);
}

// Lookups must answer the same with the index (large folders) as by walking the list.
class FolderLookupTest : public ::testing::TestWithParam<int> {};

TEST_P(FolderLookupTest, ListsKeepInsertionOrderAndFindTheFirstExactName) {
  const int count = GetParam();
  FolderNode folder;
  EXPECT_EQ(folder.FindFile(nullptr), nullptr);
  EXPECT_EQ(folder.FindFolder(nullptr), nullptr);
  std::vector<std::string> names;
  for (int i = count; i > 0; --i) {
    names.push_back("f" + std::to_string(i));
    ASSERT_NE(folder.AddFile(NewFile(names.back(), i)), nullptr);
    ASSERT_NE(folder.AddFolder(new FolderNode("d" + std::to_string(i))), nullptr);
  }
  EXPECT_EQ(FileNames(folder), names);
  EXPECT_EQ(folder.FindFile(nullptr)->name(), names.front());
  for (int i = 1; i <= count; ++i) {
    ASSERT_NE(folder.FindFile("f" + std::to_string(i)), nullptr) << i;
    EXPECT_EQ(folder.FindFile("f" + std::to_string(i))->record().size(), uint64_t(i));
    EXPECT_EQ(folder.FindFolder("d" + std::to_string(i))->name(), "d" + std::to_string(i));
  }
  EXPECT_EQ(folder.FindFile("F1"), nullptr);  // case-sensitive
  EXPECT_EQ(folder.FindFile("f"), nullptr);
  EXPECT_EQ(folder.FindFolder("f1"), nullptr);

  // A second entry of one name is found only once the first has gone.
  folder.AddFile(NewFile("f1", 1000));
  EXPECT_EQ(folder.FindFile("f1")->record().size(), 1u);
  folder.RemoveFile(folder.FindFile("f1"));
  ASSERT_NE(folder.FindFile("f1"), nullptr);
  EXPECT_EQ(folder.FindFile("f1")->record().size(), 1000u);

  // Removing keeps the order of the rest and the successor links.
  for (int i = 2; i <= count; i += 2) folder.RemoveFile(folder.FindFile("f" + std::to_string(i)));
  std::vector<std::string> left;
  for (const std::string& name : names)
    if (name != "f1" && std::stoi(name.substr(1)) % 2 == 1) left.push_back(name);
  left.push_back("f1");
  EXPECT_EQ(FileNames(folder), left);
  for (int i = 2; i <= count; i += 2) EXPECT_EQ(folder.FindFile("f" + std::to_string(i)), nullptr);
  for (int i = 3; i <= count; i += 2) EXPECT_NE(folder.FindFile("f" + std::to_string(i)), nullptr);
}

INSTANTIATE_TEST_SUITE_P(SmallAndIndexed, FolderLookupTest, ::testing::Values(3, 16, 17, 500));

TEST(FolderNodeTest, FilesLeaveFromEitherEndOnlyOnceAndDestroyFilesKeepsFolders) {
  FolderNode folder;
  FileEntry* a = folder.AddFile(NewFile("a"));
  folder.AddFile(NewFile("b"));
  FileEntry* c = folder.AddFile(NewFile("c"));
  std::unique_ptr<FileEntry> first = folder.RemoveFile(a);
  std::unique_ptr<FileEntry> last = folder.RemoveFile(c);
  EXPECT_EQ(FileNames(folder), std::vector<std::string>{"b"});
  EXPECT_EQ(folder.RemoveFile(a), nullptr);  // already out of the list
  EXPECT_EQ(folder.RemoveFile(c), nullptr);
  folder.AddFile(first.release());  // an entry that left can be added again, at the end
  EXPECT_EQ(FileNames(folder), (std::vector<std::string>{"b", "a"}));
  EXPECT_EQ(FolderNode::NextFile(folder.FindFile("a")), nullptr);
  folder.AddFolder(new FolderNode("kept"))->AddFile(NewFile("inner"));
  folder.DestroyFiles();
  EXPECT_EQ(folder.file_count(), 0u);
  EXPECT_EQ(folder.FindFile(nullptr), nullptr);
  ASSERT_NE(folder.FindFolder("kept"), nullptr);
  EXPECT_EQ(folder.FindFolder("kept")->file_count(), 1u);
  folder.AddFile(NewFile("after"));
  EXPECT_EQ(FileNames(folder), std::vector<std::string>{"after"});
}

TEST(FolderNodeTest, NullsAreRefusedAndDestroyEmptiesEverything) {
  FolderNode folder("top");
  EXPECT_EQ(folder.AddFile(nullptr), nullptr);
  EXPECT_EQ(folder.AddFolder(nullptr), nullptr);
  EXPECT_EQ(FolderNode::NextFile(nullptr), nullptr);
  FolderNode* child = folder.AddFolder(new FolderNode("c"));
  child->AddFile(NewFile("x"));
  folder.AddFile(NewFile("y"));
  EXPECT_EQ(FolderNode::NextFolder(child), nullptr);
  folder.Destroy();
  EXPECT_TRUE(folder.empty());
  folder.Destroy();  // harmless on an empty node
  EXPECT_EQ(folder.name(), "top");
}

TEST(FileEntryTest, ComparisonsGiveTheirBits) {
  const uint64_t kFourGiB = 1ULL << 32;
  struct Case {
    uint64_t size, local, server;  // of `mine`; `theirs` has 10, 100, 100
    uint32_t local_bits, server_bits;
  };
  const Case cases[] = {
      {10, 100, 100, 0, 0},
      // Older locally and newer on the server: 0x10 both times (the senses are opposite).
      {10, 99, 101, compare::kTimeLow, compare::kTimeLow},
      {10, 101, 99, compare::kTimeHigh, compare::kTimeHigh},
      {11, 100, 100, compare::kLarger, compare::kLarger},
      {9, 100, 100, compare::kSmaller, compare::kSmaller},
      // 4 GiB + 1 against 10: the high half decides.
      {kFourGiB + 1, 100, 100, compare::kLarger, compare::kLarger},
  };
  std::unique_ptr<FileEntry> theirs(NewFile("a", 10, 100, 100));
  for (const Case& c : cases) {
    std::unique_ptr<FileEntry> mine(NewFile("a", c.size, c.local, c.server));
    EXPECT_EQ(mine->CompareLocal(theirs.get()), c.local_bits) << c.size << " " << c.local;
    EXPECT_EQ(mine->CompareServer(theirs.get()), c.server_bits) << c.size << " " << c.server;
  }
  std::unique_ptr<FileEntry> renamed(NewFile("A", 10, 100, 100));
  EXPECT_EQ(renamed->CompareLocal(theirs.get()), compare::kName);
  FileEntry empty{FileRecord()};
  EXPECT_EQ(theirs->CompareLocal(&empty), compare::kNoRecord);
  EXPECT_EQ(theirs->CompareServer(nullptr), compare::kNoRecord);
  // Times compare unsigned: the top bit set is later, not earlier.
  std::unique_ptr<FileEntry> late(NewFile("a", 10, 1ULL << 63, 0));
  EXPECT_EQ(late->CompareLocal(theirs.get()), compare::kTimeHigh);
}

TEST(SyncTableTest, ExclusionListFromTheSuffixSetting) {
  testing::TwinEnv twin;
  {
    SyncTable table(twin.env);  // no value: the default "$$$", written back
    EXPECT_EQ(table.suffixes(), "\"$$$\"");
    EXPECT_TRUE(table.IsExcludedSuffix("a.$$$"));
    EXPECT_TRUE(table.IsExcludedSuffix("A.$$$"));
    EXPECT_FALSE(table.IsExcludedSuffix("a.$$"));
    EXPECT_FALSE(table.IsExcludedSuffix("$$$"));  // no dot
    EXPECT_FALSE(table.IsExcludedSuffix("a.$$$.txt"));
  }
  const std::string list = "\"TMP\"\"\"";
  ASSERT_TRUE(WriteRegistryValue(twin.registry, RegistryRoot::kCurrentUser, kSettingsKey,
                                 "Suffix", reg_type::kString, list.data(), list.size()));
  SyncTable table(twin.env);
  EXPECT_EQ(table.suffixes(), "\"tmp\"\"\"");
  EXPECT_TRUE(table.IsExcludedSuffix("x.Tmp"));
  EXPECT_TRUE(table.IsExcludedSuffix("x."));  // an empty extension tests for two quotes
  // Longer and shorter extensions in turn, the longest that fits the list last.
  EXPECT_FALSE(table.IsExcludedSuffix("x.tmpfile"));
  EXPECT_FALSE(table.IsExcludedSuffix("x.tm"));
  EXPECT_TRUE(table.IsExcludedSuffix("x.TMP"));
  EXPECT_TRUE(table.IsExcludedSuffix("x.tmp\"\""));  // a needle as long as the list
  EXPECT_FALSE(table.IsExcludedSuffix("x.tmp\"\"\""));
  // The extension of a Shift_JIS name: the trail byte 0x5C of "表" is no separator.
  EXPECT_FALSE(table.IsExcludedSuffix("\x95\x5C.txt"));
}

}  // namespace
}  // namespace qbrk
