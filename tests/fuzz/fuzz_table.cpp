// The table file loader on arbitrary bytes. The file lies in the data folder, where anything
// may have damaged it, and a loaded tree decides what is deleted: a body that parses must
// give a tree that a save writes back and a load reads again unchanged, with every name
// once per folder and no folder deeper than the scans allow.
//
// The first byte chooses: with bit 1 the rest is a whole file (header and body), loaded by
// SyncTable::LoadTableFile from the in-memory file system, so the header's checks and its
// version are fuzzed too; without it the rest is a body for ParseTableBody, read as version 1
// when bit 0 is set, else as version 2.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "settings/twin_env.h"
#include "sync/sync_table.h"
#include "sync/table_format.h"

namespace {

using qbrk::FileEntry;
using qbrk::FolderNode;

constexpr char kTablePath[] = "C:\\data\\.Qbrook.dir";

[[noreturn]] void Fail() {
  __builtin_trap();
}

bool SameRecord(const FileEntry& a, const FileEntry& b) {
  const qbrk::FileRecord& x = a.record();
  const qbrk::FileRecord& y = b.record();
  return x && y && x.length() == y.length() && std::memcmp(x.bytes(), y.bytes(), x.length()) == 0;
}

// Same names, records and order throughout.
bool SameTree(const FolderNode& a, const FolderNode& b) {
  if (a.name() != b.name() || a.file_count() != b.file_count() ||
      a.folder_count() != b.folder_count())
    return false;
  const FileEntry* f = a.FindFile(nullptr);
  const FileEntry* g = b.FindFile(nullptr);
  for (; f && g; f = FolderNode::NextFile(f), g = FolderNode::NextFile(g))
    if (!SameRecord(*f, *g)) return false;
  if (f || g) return false;
  const FolderNode* c = a.FindFolder(nullptr);
  const FolderNode* d = b.FindFolder(nullptr);
  for (; c && d; c = FolderNode::NextFolder(c), d = FolderNode::NextFolder(d))
    if (!SameTree(*c, *d)) return false;
  return !c && !d;
}

// Names are unique among a folder's files and among its children, every record holds its
// name inside its length, the finds answer each entry by its name, and no folder lies
// kMaxTreeDepth or more levels below the root.
void CheckFolder(const FolderNode& folder, uint32_t depth) {
  if (depth >= qbrk::kMaxTreeDepth) Fail();
  std::set<std::string_view> files;
  size_t count = 0;
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f), ++count) {
    const qbrk::FileRecord& record = f->record();
    if (!record || record.length() < qbrk::FileRecord::kFixedSize + f->name().size() + 1) Fail();
    if (!files.insert(f->name()).second) Fail();
    if (folder.FindFile(f->name()) != f) Fail();
  }
  if (count != folder.file_count()) Fail();
  std::set<std::string_view> folders;
  count = 0;
  for (const FolderNode* c = folder.FindFolder(nullptr); c;
       c = FolderNode::NextFolder(c), ++count) {
    if (!folders.insert(c->name()).second) Fail();
    if (folder.FindFolder(c->name()) != c) Fail();
    CheckFolder(*c, depth + 1);
  }
  if (count != folder.folder_count()) Fail();
}

// A parsed tree: its properties, and a save and a load give it back as it is.
void CheckParsed(const FolderNode& root) {
  CheckFolder(root, 0);
  std::vector<uint8_t> body;
  if (!qbrk::SerializeTableBody(root, &body)) Fail();
  // Written bodies are version 2: times are never converted twice.
  std::unique_ptr<FolderNode> again =
      qbrk::ParseTableBody(body.data(), body.size(), qbrk::kTableVersion);
  if (!again || !SameTree(root, *again)) Fail();
  std::vector<uint8_t> rewritten;
  if (!qbrk::SerializeTableBody(*again, &rewritten) || rewritten != body) Fail();
}

void FuzzBody(const uint8_t* data, size_t size, uint32_t version) {
  std::unique_ptr<FolderNode> root = qbrk::ParseTableBody(data, size, version);
  if (root) CheckParsed(*root);
}

void FuzzFile(const uint8_t* data, size_t size) {
  // One platform for the whole run: building the twins costs more than most inputs.
  static qbrk::testing::TwinEnv* twin = new qbrk::testing::TwinEnv;
  qbrk::MemoryFileSystem& files = twin->files;
  files.SetAttributes(kTablePath, qbrk::file_attr::kNormal);
  if (!files.WriteWholeFile(kTablePath, std::string(reinterpret_cast<const char*>(data), size)))
    Fail();
  qbrk::SyncTable table(twin->env);
  const qbrk::ResultCode loaded = table.LoadTableFile(kTablePath);
  uint64_t quota = 0, used = 0, free = 0;
  const qbrk::ResultCode read =
      qbrk::ReadQuotaFromTableFile(files, kTablePath, &quota, &used, &free);
  if (loaded != 1) {
    if (loaded != 500 && loaded != 152 && loaded != 153) Fail();
    if (table.root()) Fail();
    return;
  }
  if (!table.root() || read != 0) Fail();
  CheckParsed(*table.root());

  // New quota figures keep the body and the version: the tree loads again as it was.
  if (qbrk::WriteQuotaToTableFile(files, kTablePath, 1, 2, 3, 4, 5, 6) != 0) Fail();
  qbrk::SyncTable reloaded(twin->env);
  if (reloaded.LoadTableFile(kTablePath) != 1 || !SameTree(*table.root(), *reloaded.root())) Fail();
  if (qbrk::ReadQuotaFromTableFile(files, kTablePath, &quota, &used, &free) != 0 ||
      quota != (uint64_t{2} << 32 | 1) || used != (uint64_t{4} << 32 | 3) ||
      free != (uint64_t{6} << 32 | 5))
    Fail();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t mode = data[0];
  const uint32_t version = (mode & 1) ? qbrk::kTableVersionMilliseconds : qbrk::kTableVersion;
  if (mode & 2) {
    FuzzFile(data + 1, size - 1);
  } else {
    FuzzBody(data + 1, size - 1, version);
  }
  return 0;
}
