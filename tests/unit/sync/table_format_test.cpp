// The table file's bytes: what a save writes, what a load accepts, and that a load trusts
// nothing in a damaged or hostile body.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sync/table_format.h"

namespace qbrk {
namespace {

FileEntry* NewFile(const std::string& name, uint64_t server_time = 0) {
  FileRecord record = FileRecord::WithName(name);
  record.set_server_time(server_time);
  return new FileEntry(std::move(record));
}

std::vector<uint8_t> Body(const FolderNode& root) {
  std::vector<uint8_t> body;
  EXPECT_TRUE(SerializeTableBody(root, &body));
  return body;
}

// Root "" holding file "a" and folder "s", which holds file "b".
std::vector<uint8_t> SmallBody() {
  FolderNode root;
  root.AddFile(NewFile("a"));
  root.AddFolder(new FolderNode("s"))->AddFile(NewFile("b"));
  return Body(root);
}

std::unique_ptr<FolderNode> Parse(const std::vector<uint8_t>& body, uint32_t version = 2) {
  return ParseTableBody(body.data(), body.size(), version);
}

std::string Describe(const FolderNode& folder, const std::string& prefix = "") {
  std::string out;
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f))
    out += prefix + std::string(f->name()) + " ";
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c))
    out += prefix + c->name() + "/ " + Describe(*c, prefix + c->name() + "/");
  return out;
}

TEST(TableFormatTest, HeaderAndTheBlocksOfASmallTree) {
  uint8_t header[kTableHeaderSize];
  BuildTableHeader({1ULL << 33, 5, 7}, header);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(header)), "HV Quellanbrook LocalTable File");
  EXPECT_EQ(header[31], 0);
  EXPECT_EQ(LoadLittle32(header + 32), 68u);
  EXPECT_EQ(TableVersion(header), 2u);
  EXPECT_EQ(LoadLittle32(header + 40), 0u);
  EXPECT_EQ(LoadLittle64(header + 44), 1ULL << 33);
  EXPECT_EQ(LoadLittle64(header + 52), 5u);
  EXPECT_EQ(LoadLittle64(header + 60), 7u);
  EXPECT_TRUE(HasTableMagic(header));
  header[30] = 'f';
  EXPECT_FALSE(HasTableMagic(header));

  FolderNode empty;
  EXPECT_EQ(Body(empty), std::vector<uint8_t>({13, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));

  const std::vector<uint8_t> body = SmallBody();
  ASSERT_EQ(body.size(), 17u + 50 + 14 + 50);
  EXPECT_EQ(LoadLittle32(&body[0]), 17u);   // records offset: 12 + 4 + 1
  EXPECT_EQ(LoadLittle32(&body[4]), 1u);    // one folder
  EXPECT_EQ(LoadLittle32(&body[8]), 1u);    // one file
  EXPECT_EQ(LoadLittle32(&body[12]), 67u);  // the child block after the record
  EXPECT_EQ(body[16], 0);                   // the root's empty name
  EXPECT_EQ(LoadLittle32(&body[17]), 50u);  // record "a"
  EXPECT_EQ(LoadLittle32(&body[67]), 14u);  // child: 12 + "s" + NUL
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&body[79])), "s");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&body[81 + 48])), "b");
}

TEST(TableFormatTest, LoadKeepsListOrderAndConvertsVersionOneTimes) {
  FolderNode root("top");
  for (const char* name : {"z", "a", "m"}) root.AddFile(NewFile(name, 42));
  FolderNode* second = root.AddFolder(new FolderNode("y"));
  root.AddFolder(new FolderNode("b"))->AddFolder(new FolderNode("empty"));
  second->AddFile(NewFile("\x83\x5C.txt"));  // "ソ.txt"
  auto loaded = Parse(Body(root));
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->name(), "top");
  EXPECT_EQ(Describe(*loaded), "z a m y/ y/\x83\x5C.txt b/ b/empty/ ");
  EXPECT_EQ(loaded->FindFile("z")->record().server_time(), 42u);

  // Version 1 holds milliseconds since 1970.
  auto old = Parse(Body(root), kTableVersionMilliseconds);
  ASSERT_NE(old, nullptr);
  EXPECT_EQ(old->FindFile("a")->record().server_time(), 116444736000000000ULL + 420000);
  FolderNode zero;
  zero.AddFile(NewFile("e", 0));
  EXPECT_EQ(Parse(Body(zero), 1)->FindFile("e")->record().server_time(), 116444736000000000ULL);
}

TEST(TableFormatTest, DamagedOrHostileBodiesAreRefused) {
  const std::vector<uint8_t> good = SmallBody();
  ASSERT_NE(Parse(good), nullptr);
  struct Damage {
    const char* what;
    size_t offset;
    uint32_t value;
  };
  const Damage damages[] = {
      {"file count past the end", 8, 1000},
      {"folder count past the records", 4, 0xFFFFFFFF},
      {"records offset zero", 0, 0},
      {"records offset past the end", 0, 5000},
      {"child block at its parent (a loop)", 12, 0},
      {"child block inside the records", 12, 20},
      {"child block past the end", 12, 5000},
      {"record shorter than its fixed part", 17, 48},
      {"record longer than the body", 17, 100000},
      {"child's records offset past the end", 67, 0xFFFFFFF0},
      {"child's file count past the end", 75, 2},
  };
  for (const Damage& d : damages) {
    std::vector<uint8_t> body = good;
    StoreLittle32(&body[d.offset], d.value);
    EXPECT_EQ(Parse(body), nullptr) << d.what;
  }
  // A record without its NUL inside its length.
  std::vector<uint8_t> unterminated = good;
  unterminated[17 + 49] = 'x';
  EXPECT_EQ(Parse(unterminated), nullptr);
  // Every cut short of the whole body.
  for (size_t size = 0; size < good.size(); ++size)
    EXPECT_EQ(ParseTableBody(good.data(), size, 2), nullptr) << size;
  EXPECT_EQ(ParseTableBody(nullptr, 0, 2), nullptr);
}

TEST(TableFormatTest, OverlappingBlocksAndRepeatedNamesAreRefused) {
  FolderNode root;
  root.AddFolder(new FolderNode("p"));
  root.AddFolder(new FolderNode("q"));
  std::vector<uint8_t> body = Body(root);
  ASSERT_NE(Parse(body), nullptr);
  // Both children at the first child's offset.
  StoreLittle32(&body[16], LoadLittle32(&body[12]));
  EXPECT_EQ(Parse(body), nullptr);

  FolderNode twice;
  twice.AddFile(NewFile("a"));
  twice.AddFile(NewFile("a"));
  EXPECT_EQ(Parse(Body(twice)), nullptr);
  FolderNode twice_folders;
  twice_folders.AddFolder(new FolderNode("d"));
  twice_folders.AddFolder(new FolderNode("d"));
  EXPECT_EQ(Parse(Body(twice_folders)), nullptr);
}

TEST(TableFormatTest, NestingStopsAtTheScansDepthLimit) {
  for (const uint32_t levels : {kMaxTreeDepth - 1, kMaxTreeDepth}) {
    FolderNode root;
    FolderNode* at = &root;
    for (uint32_t i = 0; i < levels; ++i) at = at->AddFolder(new FolderNode("d"));
    at->AddFile(NewFile("deep"));
    auto loaded = Parse(Body(root));
    EXPECT_EQ(loaded != nullptr, levels < kMaxTreeDepth) << levels;
  }
}

}  // namespace
}  // namespace qbrk
