#include "sync/table_format.h"

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <vector>

namespace qbrk {

namespace {

constexpr uint64_t kUnixEpochFileTime = 116444736000000000ULL;
constexpr size_t kBlockHead = 12;

// Reads blocks at offsets that never go back: each block's child offsets are copied before
// anything after them is read, and a child lies after everything read before it.
struct Parser {
  TableBodySource& source;
  uint64_t size;
  uint32_t version;

  // Parses the block at `start` into a node named as the block says; null when the block is
  // damaged. `end` receives the end of everything the block holds.
  std::unique_ptr<FolderNode> Block(uint64_t start, uint32_t depth, uint64_t* end) {
    if (depth >= kMaxTreeDepth || start + kBlockHead > size) return nullptr;
    const uint8_t* head = source.Bytes(start, kBlockHead);
    if (!head) return nullptr;
    const uint64_t records_offset = LoadLittle32(head);
    const uint64_t folder_count = LoadLittle32(head + 4);
    const uint64_t file_count = LoadLittle32(head + 8);
    const uint64_t name_start = kBlockHead + 4 * folder_count;
    // The name needs at least its NUL between the child offsets and the records.
    if (name_start >= records_offset || start + records_offset > size) return nullptr;
    std::vector<uint32_t> child_offsets(static_cast<size_t>(folder_count));
    if (folder_count > 0) {
      const uint8_t* offsets = source.Bytes(start + kBlockHead, 4 * folder_count);
      if (!offsets) return nullptr;
      for (size_t i = 0; i < child_offsets.size(); ++i)
        child_offsets[i] = LoadLittle32(offsets + 4 * i);
    }
    const size_t name_room = static_cast<size_t>(records_offset - name_start);
    const char* name_bytes = reinterpret_cast<const char*>(source.Bytes(start + name_start, name_room));
    if (!name_bytes) return nullptr;
    const void* name_end = std::memchr(name_bytes, 0, name_room);
    if (!name_end) return nullptr;
    std::unique_ptr<FolderNode> node(new (std::nothrow) FolderNode(
        std::string(name_bytes, static_cast<const char*>(name_end) - name_bytes)));
    if (!node) return nullptr;

    uint64_t cursor = start + records_offset;
    for (uint64_t i = 0; i < file_count; ++i) {
      if (cursor + 4 > size) return nullptr;
      const uint8_t* length_bytes = source.Bytes(cursor, 4);
      if (!length_bytes) return nullptr;
      const uint32_t length = LoadLittle32(length_bytes);
      if (length < FileRecord::kFixedSize + 1 || cursor + length > size) return nullptr;
      const uint8_t* bytes = source.Bytes(cursor, length);
      if (!bytes || !std::memchr(bytes + FileRecord::kFixedSize, 0,
                                 length - FileRecord::kFixedSize))
        return nullptr;
      FileRecord record = FileRecord::FromBytes(bytes, length);
      if (!record) return nullptr;
      if (version == kTableVersionMilliseconds)
        record.set_server_time(MillisecondsToFileTime(record.server_time()));
      if (node->FindFile(record.name())) return nullptr;
      if (!node->AddFile(FileEntry::New(record))) return nullptr;
      cursor += length;
    }

    for (const uint32_t offset : child_offsets) {
      const uint64_t child_start = start + offset;
      // Forward only: a child lies after the records and after its elder siblings.
      if (child_start < cursor) return nullptr;
      std::unique_ptr<FolderNode> child = Block(child_start, depth + 1, &cursor);
      if (!child || node->FindFolder(std::string_view(child->name()))) return nullptr;
      if (!node->AddFolder(child.release())) return nullptr;
    }
    *end = cursor;
    return node;
  }
};

// A body held whole in memory.
class MemorySource final : public TableBodySource {
 public:
  explicit MemorySource(const uint8_t* body) : body_(body) {}
  const uint8_t* Bytes(uint64_t offset, size_t) override { return body_ + offset; }

 private:
  const uint8_t* body_;
};

// Writes to a byte vector.
class VectorSink final : public TableBodySink {
 public:
  explicit VectorSink(std::vector<uint8_t>* out) : out_(out) {}
  bool Append(const uint8_t* data, size_t size) override {
    out_->insert(out_->end(), data, data + size);
    return true;
  }

 private:
  std::vector<uint8_t>* out_;
};

void Store(const TableQuota& quota, uint8_t* header) {
  StoreLittle64(header + 44, quota.quota);
  StoreLittle64(header + 52, quota.used);
  StoreLittle64(header + 60, quota.free);
}

// What a block's head needs before its content is written: the size of every block, in the
// order the blocks are written, with how many blocks its subtree holds (itself included).
struct BlockSize {
  uint64_t size;
  size_t blocks;
};

uint64_t RecordsOffset(const FolderNode& node) {
  return kBlockHead + 4 * uint64_t{node.folder_count()} + node.name().size() + 1;
}

// Appends the sizes of `node`'s subtree to `sizes`; false when a record is missing or an
// offset inside a block would not fit in 32 bits.
bool MeasureBlock(const FolderNode& node, std::vector<BlockSize>* sizes) {
  const size_t index = sizes->size();
  sizes->push_back({0, 0});
  uint64_t size = RecordsOffset(node);
  if (size > std::numeric_limits<uint32_t>::max()) return false;
  for (const FileEntry* f = node.FindFile(nullptr); f; f = FolderNode::NextFile(f)) {
    if (!f->record()) return false;
    size += f->record().length();
  }
  for (const FolderNode* child = node.FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child)) {
    if (size > std::numeric_limits<uint32_t>::max()) return false;  // the child's offset
    const size_t child_index = sizes->size();
    if (!MeasureBlock(*child, sizes)) return false;
    size += (*sizes)[child_index].size;
  }
  (*sizes)[index] = {size, sizes->size() - index};
  return true;
}

// Writes through a buffer, so that the sink sees few large pieces.
class BufferedSink {
 public:
  explicit BufferedSink(TableBodySink& sink) : sink_(sink) { buffer_.reserve(kBuffer); }
  bool Put(const void* data, size_t size) {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    if (buffer_.size() + size > kBuffer && !Flush()) return false;
    if (size >= kBuffer) return sink_.Append(bytes, size);
    buffer_.insert(buffer_.end(), bytes, bytes + size);
    return true;
  }
  bool Put32(uint32_t value) {
    uint8_t bytes[4];
    StoreLittle32(bytes, value);
    return Put(bytes, sizeof bytes);
  }
  bool Flush() {
    const bool ok = buffer_.empty() || sink_.Append(buffer_.data(), buffer_.size());
    buffer_.clear();
    return ok;
  }

 private:
  static constexpr size_t kBuffer = 64 * 1024;
  TableBodySink& sink_;
  std::vector<uint8_t> buffer_;
};

bool WriteBlock(const FolderNode& node, const std::vector<BlockSize>& sizes, size_t index,
                BufferedSink& out) {
  const uint64_t records_offset = RecordsOffset(node);
  uint64_t children = 0;
  for (size_t child = index + 1; child < index + sizes[index].blocks;
       child += sizes[child].blocks)
    children += sizes[child].size;
  uint64_t offset = sizes[index].size - children;  // the first child follows the records
  if (!out.Put32(static_cast<uint32_t>(records_offset)) ||
      !out.Put32(static_cast<uint32_t>(node.folder_count())) ||
      !out.Put32(static_cast<uint32_t>(node.file_count())))
    return false;
  for (size_t child = index + 1; child < index + sizes[index].blocks;
       child += sizes[child].blocks) {
    if (!out.Put32(static_cast<uint32_t>(offset))) return false;
    offset += sizes[child].size;
  }
  if (!out.Put(node.name().c_str(), node.name().size() + 1)) return false;
  for (const FileEntry* f = node.FindFile(nullptr); f; f = FolderNode::NextFile(f)) {
    if (!out.Put(f->record().bytes(), f->record().length())) return false;
  }
  size_t child_index = index + 1;
  for (const FolderNode* child = node.FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child)) {
    if (!WriteBlock(*child, sizes, child_index, out)) return false;
    child_index += sizes[child_index].blocks;
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

bool WriteTableBody(const FolderNode& root, TableBodySink& sink) {
  try {
    std::vector<BlockSize> sizes;
    if (!MeasureBlock(root, &sizes)) return false;
    BufferedSink out(sink);
    return WriteBlock(root, sizes, 0, out) && out.Flush();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool SerializeTableBody(const FolderNode& root, std::vector<uint8_t>* out) {
  VectorSink sink(out);
  try {
    return WriteTableBody(root, sink);
  } catch (const std::length_error&) {
    return false;
  }
}

std::unique_ptr<FolderNode> ParseTableBody(const uint8_t* body, size_t size, uint32_t version) {
  if (!body) return nullptr;
  MemorySource source(body);
  return ParseTableBody(source, size, version);
}

std::unique_ptr<FolderNode> ParseTableBody(TableBodySource& source, uint64_t size,
                                           uint32_t version) {
  if (size < kBlockHead) return nullptr;
  try {
    Parser parser{source, size, version};
    uint64_t end = 0;
    return parser.Block(0, 0, &end);
  } catch (const std::bad_alloc&) {
    return nullptr;
  } catch (const std::length_error&) {
    return nullptr;
  }
}

}  // namespace qbrk
