#include "sync/table_format.h"

#include <cstring>
#include <limits>
#include <new>
#include <string>

namespace qbrk {

namespace {

constexpr uint64_t kUnixEpochFileTime = 116444736000000000ULL;
constexpr size_t kBlockHead = 12;

struct Parser {
  const uint8_t* body;
  uint64_t size;
  uint32_t version;

  // Parses the block at `start` into `node`; the end of everything the block holds, or 0.
  uint64_t Block(uint64_t start, uint32_t depth, FolderNode* node) {
    if (depth >= kMaxTreeDepth || start + kBlockHead > size) return 0;
    const uint8_t* head = body + start;
    const uint64_t records_offset = LoadLittle32(head);
    const uint64_t folder_count = LoadLittle32(head + 4);
    const uint64_t file_count = LoadLittle32(head + 8);
    const uint64_t name_start = kBlockHead + 4 * folder_count;
    // The name needs at least its NUL between the child offsets and the records.
    if (name_start >= records_offset || start + records_offset > size) return 0;
    if (!std::memchr(head + name_start, 0, records_offset - name_start)) return 0;

    uint64_t cursor = start + records_offset;
    for (uint64_t i = 0; i < file_count; ++i) {
      if (cursor + 4 > size) return 0;
      const uint32_t length = LoadLittle32(body + cursor);
      if (length < FileRecord::kFixedSize + 1 || cursor + length > size) return 0;
      if (!std::memchr(body + cursor + FileRecord::kFixedSize, 0,
                       length - FileRecord::kFixedSize))
        return 0;
      FileRecord record = FileRecord::FromBytes(body + cursor, length);
      if (!record) return 0;
      if (version == kTableVersionMilliseconds)
        record.set_server_time(MillisecondsToFileTime(record.server_time()));
      if (node->FindFile(record.name())) return 0;
      if (!node->AddFile(FileEntry::New(record))) return 0;
      cursor += length;
    }

    for (uint64_t i = 0; i < folder_count; ++i) {
      const uint64_t child_start = start + LoadLittle32(head + kBlockHead + 4 * i);
      // Forward only: a child lies after the records and after its elder siblings.
      if (child_start < cursor || child_start + kBlockHead > size) return 0;
      const uint8_t* child_head = body + child_start;
      const uint64_t child_name = kBlockHead + 4 * uint64_t{LoadLittle32(child_head + 4)};
      const uint64_t child_records = LoadLittle32(child_head);
      if (child_name >= child_records || child_start + child_records > size) return 0;
      const char* name_bytes = reinterpret_cast<const char*>(child_head + child_name);
      const void* end = std::memchr(name_bytes, 0, child_records - child_name);
      if (!end) return 0;
      std::string name(name_bytes, static_cast<const char*>(end) - name_bytes);
      if (node->FindFolder(std::string_view(name))) return 0;
      FolderNode* child = new (std::nothrow) FolderNode(std::move(name));
      if (!node->AddFolder(child)) return 0;
      cursor = Block(child_start, depth + 1, child);
      if (cursor == 0) return 0;
    }
    return cursor;
  }
};

void Store(const TableQuota& quota, uint8_t* header) {
  StoreLittle64(header + 44, quota.quota);
  StoreLittle64(header + 52, quota.used);
  StoreLittle64(header + 60, quota.free);
}

void Put32(std::vector<uint8_t>* out, size_t at, uint32_t value) {
  StoreLittle32(out->data() + at, value);
}

bool SerializeBlock(const FolderNode& node, std::vector<uint8_t>* out) {
  const size_t start = out->size();
  const size_t folders = node.folder_count();
  const size_t records_offset = kBlockHead + 4 * folders + node.name().size() + 1;
  if (records_offset > std::numeric_limits<uint32_t>::max()) return false;
  out->resize(start + records_offset);
  Put32(out, start, static_cast<uint32_t>(records_offset));
  Put32(out, start + 4, static_cast<uint32_t>(folders));
  Put32(out, start + 8, static_cast<uint32_t>(node.file_count()));
  std::memcpy(out->data() + start + kBlockHead + 4 * folders, node.name().c_str(),
              node.name().size() + 1);
  for (const FileEntry* f = node.FindFile(nullptr); f; f = FolderNode::NextFile(f)) {
    if (!f->record()) return false;
    out->insert(out->end(), f->record().bytes(), f->record().bytes() + f->record().length());
  }
  size_t slot = start + kBlockHead;
  for (const FolderNode* child = node.FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child), slot += 4) {
    const size_t offset = out->size() - start;
    if (offset > std::numeric_limits<uint32_t>::max()) return false;
    Put32(out, slot, static_cast<uint32_t>(offset));
    if (!SerializeBlock(*child, out)) return false;
  }
  return true;
}

}  // namespace

uint64_t MillisecondsToFileTime(uint64_t milliseconds) {
  return kUnixEpochFileTime + milliseconds * 10000;
}

void BuildTableHeader(const TableQuota& quota, uint8_t header[kTableHeaderSize]) {
  std::memset(header, 0, kTableHeaderSize);
  std::memcpy(header, kTableMagic, sizeof kTableMagic);
  StoreLittle32(header + 32, kTableHeaderSize);
  StoreLittle32(header + 36, kTableVersion);
  Store(quota, header);
}

bool HasTableMagic(const uint8_t header[kTableHeaderSize]) {
  // Compared as a NUL-terminated string: the magic and its NUL, nothing more.
  return std::memcmp(header, kTableMagic, sizeof kTableMagic) == 0;
}

uint32_t TableVersion(const uint8_t header[kTableHeaderSize]) { return LoadLittle32(header + 36); }

TableQuota TableQuotaOf(const uint8_t header[kTableHeaderSize]) {
  return {LoadLittle64(header + 44), LoadLittle64(header + 52), LoadLittle64(header + 60)};
}

void SetTableQuota(const TableQuota& quota, uint8_t header[kTableHeaderSize]) {
  Store(quota, header);
}

bool SerializeTableBody(const FolderNode& root, std::vector<uint8_t>* out) {
  try {
    out->reserve(out->size() + 1024);
    return SerializeBlock(root, out);
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

std::unique_ptr<FolderNode> ParseTableBody(const uint8_t* body, size_t size, uint32_t version) {
  if (!body || size < kBlockHead) return nullptr;
  // The root's own name sits where its block says.
  const uint64_t records_offset = LoadLittle32(body);
  const uint64_t name_start = kBlockHead + 4 * uint64_t{LoadLittle32(body + 4)};
  if (name_start >= records_offset || records_offset > size) return nullptr;
  const char* name_bytes = reinterpret_cast<const char*>(body + name_start);
  const void* end = std::memchr(name_bytes, 0, records_offset - name_start);
  if (!end) return nullptr;
  try {
    std::unique_ptr<FolderNode> root(new (std::nothrow) FolderNode(
        std::string(name_bytes, static_cast<const char*>(end) - name_bytes)));
    if (!root) return nullptr;
    Parser parser{body, size, version};
    if (parser.Block(0, 0, root.get()) == 0) return nullptr;
    return root;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace qbrk
