// The table file on disk: what a save leaves (bytes and attributes), that a failing save
// leaves the previous table whole, what each reader answers for missing, short or foreign
// files, and the quota figures it caches.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "settings/twin_env.h"
#include "sync/sync_table.h"
#include "sync/table_format.h"

namespace qbrk {
namespace {

constexpr char kPath[] = "C:\\data\\.Qbrook.dir";
constexpr uint32_t kHiddenSystemReadOnly = 0x7;

using Op = MemoryFileSystem::Op;

FileEntry* NewEntry(const std::string& name) { return new FileEntry(FileRecord::WithName(name)); }

class TableFileTest : public ::testing::Test {
 protected:
  TableFileTest() { twin_.files.MakeDirectory("C:\\data"); }

  // A recorded tree of two files in two folders.
  void Fill(SyncTable& table) {
    FolderNode* root = table.EnsureRoot();
    FileRecord a = FileRecord::WithName("a.txt");
    a.set_size(5);
    root->AddFile(new FileEntry(std::move(a)));
    root->AddFolder(new FolderNode("sub"))->AddFile(new FileEntry(FileRecord::WithName("b")));
  }
  std::string Bytes() {
    std::string bytes;
    twin_.files.ReadWholeFile(kPath, &bytes);
    return bytes;
  }
  void Put(const std::string& bytes) {
    twin_.files.SetAttributes(kPath, file_attr::kNormal);
    ASSERT_TRUE(twin_.files.WriteWholeFile(kPath, bytes));
  }
  uint32_t Attributes() {
    uint32_t attributes = 0;
    twin_.files.GetAttributes(kPath, &attributes);
    return attributes;
  }

  testing::TwinEnv twin_;
};

TEST_F(TableFileTest, SaveWritesHeaderAndBodyHiddenSystemReadOnlyAndLoadsBack) {
  SyncTable table(twin_.env);
  Fill(table);
  ASSERT_EQ(table.SaveTableFile(kPath), 1);
  const std::string bytes = Bytes();
  ASSERT_GT(bytes.size(), kTableHeaderSize);
  EXPECT_EQ(bytes.substr(0, 32), std::string("HV Quellanbrook LocalTable File\0", 32));
  EXPECT_EQ(Attributes() & kHiddenSystemReadOnly, kHiddenSystemReadOnly);
  std::vector<uint8_t> body;
  ASSERT_TRUE(SerializeTableBody(*table.root(), &body));
  EXPECT_EQ(bytes.substr(kTableHeaderSize), std::string(body.begin(), body.end()));
  // Only the table is there: the file written beside it went into its place.
  EXPECT_EQ(twin_.files.List("C:\\data"), std::vector<std::string>{kPath});

  SyncTable loaded(twin_.env);
  ASSERT_EQ(loaded.LoadTableFile(kPath), 1u);
  EXPECT_EQ(loaded.root()->FindFile("a.txt")->record().size(), 5u);
  EXPECT_NE(loaded.root()->FindFolder("sub")->FindFile("b"), nullptr);
  // A save over the read-only file replaces it.
  loaded.root()->AddFile(new FileEntry(FileRecord::WithName("c")));
  ASSERT_EQ(loaded.SaveTableFile(kPath), 1);
  SyncTable again(twin_.env);
  ASSERT_EQ(again.LoadTableFile(kPath), 1u);
  EXPECT_NE(again.root()->FindFile("c"), nullptr);
}

TEST_F(TableFileTest, AFailingSaveLeavesThePreviousTableWhole) {
  SyncTable table(twin_.env);
  Fill(table);
  ASSERT_EQ(table.SaveTableFile(kPath), 1);
  const std::string before = Bytes();
  table.root()->AddFile(new FileEntry(FileRecord::WithName("more")));
  for (Op failing : {Op::kOpen, Op::kWrite, Op::kFlush, Op::kRenameReplacing}) {
    twin_.files.set_fault([failing](Op op, const std::string& path) -> SysError {
      if (op != failing) return 0;
      // The old table stays readable: only the new file's steps fail.
      return op == Op::kOpen && path == kPath ? 0 : sys_error::kDiskFull;
    });
    EXPECT_EQ(table.SaveTableFile(kPath), 0) << static_cast<int>(failing);
    twin_.files.set_fault(nullptr);
    EXPECT_EQ(Bytes(), before) << static_cast<int>(failing);
    EXPECT_EQ(Attributes() & kHiddenSystemReadOnly, kHiddenSystemReadOnly);
    EXPECT_EQ(twin_.files.List("C:\\data"), std::vector<std::string>{kPath});
  }
  // A full disk in the middle of the body, too.
  twin_.files.set_capacity(before.size() + 40);
  EXPECT_EQ(table.SaveTableFile(kPath), 0);
  twin_.files.set_capacity(UINT64_MAX);
  EXPECT_EQ(Bytes(), before);
}

TEST_F(TableFileTest, LoadAnswersForMissingShortForeignAndDamagedFiles) {
  SyncTable table(twin_.env);
  EXPECT_EQ(table.LoadTableFile(""), 500u);
  EXPECT_EQ(table.LoadTableFile(kPath), 151u);
  Put("");
  EXPECT_EQ(table.LoadTableFile(kPath), 152u);
  uint8_t header[kTableHeaderSize];
  BuildTableHeader({}, header);
  const std::string head(reinterpret_cast<char*>(header), kTableHeaderSize);
  Put(head);  // what the quota job writes before any synchronization
  EXPECT_EQ(table.LoadTableFile(kPath), 152u);
  std::string foreign = head + std::string(13, '\0');
  foreign[5] = 'x';
  Put(foreign);
  EXPECT_EQ(table.LoadTableFile(kPath), 153u);
  Put(head + "\x05\0\0\0garbage");
  EXPECT_EQ(table.LoadTableFile(kPath), 500u);
  EXPECT_EQ(table.root(), nullptr);
  // Held open by another program without sharing.
  Put(head + std::string("\x0d\0\0\0\0\0\0\0\0\0\0\0\0", 13));
  ASSERT_EQ(table.LoadTableFile(kPath), 1u);
  std::unique_ptr<File> held;
  ASSERT_EQ(twin_.files.OpenFile(kPath, file_access::kRead, file_share::kNone,
                                 Disposition::kOpenExisting, &held), 0u);
  EXPECT_EQ(table.LoadTableFile(kPath), 151u);
}

// Far larger than what a load reads at once, with records and blocks across its edges.
void FillLarge(SyncTable& table) {
  FolderNode* root = table.EnsureRoot();
  for (int f = 0; f < 40; ++f) {
    FolderNode* folder = root->AddFolder(new FolderNode("folder" + std::to_string(f)));
    for (int i = 0; i < 250; ++i) {
      FileRecord record = FileRecord::WithName(std::string(i % 97 + 1, 'n') + std::to_string(i));
      record.set_size(static_cast<uint64_t>(f) << 32 | static_cast<uint64_t>(i));
      folder->AddFile(new FileEntry(std::move(record)));
    }
    if (f % 7 == 0) folder->AddFolder(new FolderNode("deeper"))->AddFile(NewEntry("x"));
  }
}

TEST_F(TableFileTest, ALargeTableGoesOutAndComesBackInPieces) {
  SyncTable table(twin_.env);
  FillLarge(table);
  ASSERT_EQ(table.SaveTableFile(kPath), 1);
  std::vector<uint8_t> body;
  ASSERT_TRUE(SerializeTableBody(*table.root(), &body));
  ASSERT_GT(body.size(), 3u * 256 * 1024);  // several times what a load reads at once
  EXPECT_EQ(Bytes().substr(kTableHeaderSize), std::string(body.begin(), body.end()));

  struct PieceSink : TableBodySink {
    bool Append(const uint8_t* data, size_t size) override {
      largest = std::max(largest, size);
      bytes.insert(bytes.end(), data, data + size);
      return true;
    }
    size_t largest = 0;
    std::vector<uint8_t> bytes;
  } pieces;
  ASSERT_TRUE(WriteTableBody(*table.root(), pieces));
  EXPECT_EQ(pieces.bytes, body);
  EXPECT_LE(pieces.largest, 64u * 1024);

  SyncTable loaded(twin_.env);
  ASSERT_EQ(loaded.LoadTableFile(kPath), 1u);
  std::vector<uint8_t> again;
  ASSERT_TRUE(SerializeTableBody(*loaded.root(), &again));
  EXPECT_EQ(again, body);

  // A read that fails half-way is an unreadable file, and nothing of it is kept.
  int reads = 0;
  twin_.files.set_fault([&reads](Op op, const std::string&) -> SysError {
    return op == Op::kRead && ++reads > 3 ? sys_error::kAccessDenied : 0;
  });
  EXPECT_EQ(loaded.LoadTableFile(kPath), 152u);
  EXPECT_EQ(loaded.root(), nullptr);
  twin_.files.set_fault(nullptr);
  // So is a file that ends before the records its blocks count.
  Put(Bytes().substr(0, kTableHeaderSize + body.size() / 2));
  EXPECT_NE(loaded.LoadTableFile(kPath), 1u);
  EXPECT_EQ(loaded.root(), nullptr);
}

TEST_F(TableFileTest, SaveWithoutATreeWritesOnlyTheHeaderAndFails) {
  SyncTable table(twin_.env);
  EXPECT_EQ(table.SaveTableFile(kPath), 0);
  EXPECT_EQ(Bytes().size(), kTableHeaderSize);
}

TEST_F(TableFileTest, QuotaFiguresAreReadAndWrittenWithoutTouchingTheTree) {
  uint64_t quota = 9, used = 9, free = 9;
  EXPECT_EQ(ReadQuotaFromTableFile(twin_.files, kPath, &quota, nullptr, &free), 3u);
  EXPECT_EQ(ReadQuotaFromTableFile(twin_.files, kPath, &quota, &used, &free), 151u);
  EXPECT_EQ(quota + used + free, 0u);
  EXPECT_EQ(WriteQuotaToTableFile(twin_.files, "", 1, 0, 1, 0, 1, 0), 3u);

  // No file yet: a header-only file with the figures.
  ASSERT_EQ(WriteQuotaToTableFile(twin_.files, kPath, 0, 2, 7, 0, 0xFFFFFFFF, 1), 0u);
  EXPECT_EQ(Bytes().size(), kTableHeaderSize);
  EXPECT_EQ(Attributes() & kHiddenSystemReadOnly, kHiddenSystemReadOnly);
  ASSERT_EQ(ReadQuotaFromTableFile(twin_.files, kPath, &quota, &used, &free), 0u);
  EXPECT_EQ(quota, 2ULL << 32);
  EXPECT_EQ(used, 7u);
  EXPECT_EQ(free, 0x1FFFFFFFFULL);

  // Over a table: the tree stays, only bytes 44 to 67 change.
  SyncTable table(twin_.env);
  Fill(table);
  ASSERT_EQ(table.SaveTableFile(kPath), 1);
  const std::string before = Bytes();
  ASSERT_EQ(WriteQuotaToTableFile(twin_.files, kPath, 100, 0, 60, 0, 40, 0), 0u);
  const std::string after = Bytes();
  EXPECT_EQ(after.substr(0, 44), before.substr(0, 44));
  EXPECT_EQ(after.substr(kTableHeaderSize), before.substr(kTableHeaderSize));
  SyncTable loaded(twin_.env);
  EXPECT_EQ(loaded.LoadTableFile(kPath), 1u);
  // A checkpoint carries the figures over; a save without a connection clears them.
  ASSERT_EQ(table.SaveCheckpoint(kPath), 1);
  ASSERT_EQ(ReadQuotaFromTableFile(twin_.files, kPath, &quota, &used, &free), 0u);
  EXPECT_EQ(quota, 100u);
  ASSERT_EQ(table.SaveTableFile(kPath), 1);
  ASSERT_EQ(ReadQuotaFromTableFile(twin_.files, kPath, &quota, &used, &free), 0u);
  EXPECT_EQ(quota, 0u);

  // A foreign file is never overwritten; an empty one cannot be read.
  Put("not a table at all, but long enough to hold a header of sixty-eight bytes ....");
  EXPECT_EQ(WriteQuotaToTableFile(twin_.files, kPath, 1, 0, 1, 0, 1, 0), 153u);
  EXPECT_EQ(ReadQuotaFromTableFile(twin_.files, kPath, &quota, &used, &free), 153u);
  Put("");
  EXPECT_EQ(WriteQuotaToTableFile(twin_.files, kPath, 1, 0, 1, 0, 1, 0), 152u);
  EXPECT_EQ(ReadQuotaFromTableFile(twin_.files, kPath, &quota, &used, &free), 152u);
  // A write that fails on the way is the operation's own failure.
  twin_.files.SetAttributes(kPath, file_attr::kNormal);
  twin_.files.RemoveFile(kPath);
  twin_.files.set_fault([](MemoryFileSystem::Op op, const std::string&) {
    return op == MemoryFileSystem::Op::kWrite ? sys_error::kDiskFull : 0;
  });
  EXPECT_EQ(WriteQuotaToTableFile(twin_.files, kPath, 1, 0, 1, 0, 1, 0), 154u);
  twin_.files.set_fault([](MemoryFileSystem::Op op, const std::string&) {
    return op == MemoryFileSystem::Op::kOpen ? sys_error::kAccessDenied : 0;
  });
  EXPECT_EQ(WriteQuotaToTableFile(twin_.files, kPath, 1, 0, 1, 0, 1, 0), 0u);
  twin_.files.set_fault(nullptr);
}

}  // namespace
}  // namespace qbrk
