#include "sync/file_record.h"

#include <cstring>
#include <limits>
#include <new>

namespace qbrk {

uint32_t LoadLittle32(const uint8_t* p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

uint64_t LoadLittle64(const uint8_t* p) {
  return uint64_t{LoadLittle32(p)} | uint64_t{LoadLittle32(p + 4)} << 32;
}

void StoreLittle32(uint8_t* p, uint32_t value) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(value >> (8 * i));
}

void StoreLittle64(uint8_t* p, uint64_t value) {
  StoreLittle32(p, static_cast<uint32_t>(value));
  StoreLittle32(p + 4, static_cast<uint32_t>(value >> 32));
}

namespace {
constexpr size_t kNameSizeAt = 0;
constexpr size_t kFlagsAt = 4;
}  // namespace

void FileRecord::BlockDeleter::operator()(uint8_t* block) const {
  uint32_t flags;
  std::memcpy(&flags, block + kFlagsAt, sizeof flags);
  if (!(flags & kEmbedded)) delete[] block;
}

FileRecord::FileRecord(FileRecord&& other) noexcept
    : block_(other.embedded() ? std::move(other.Copy().block_) : std::move(other.block_)) {}

FileRecord& FileRecord::operator=(FileRecord&& other) noexcept {
  if (this != &other)
    block_ = other.embedded() ? std::move(other.Copy().block_) : std::move(other.block_);
  return *this;
}

bool FileRecord::embedded() const {
  if (!block_) return false;
  uint32_t flags;
  std::memcpy(&flags, block_.get() + kFlagsAt, sizeof flags);
  return (flags & kEmbedded) != 0;
}

FileRecord FileRecord::Allocate(uint32_t length, uint32_t name_size) {
  const uint64_t total = uint64_t{kHeaderBytes} + length;
  if (total != static_cast<size_t>(total)) return {};  // beyond a 32-bit address space
  Block block(new (std::nothrow) uint8_t[static_cast<size_t>(total)]);
  if (!block) return {};
  const uint32_t flags = 0;
  std::memcpy(block.get() + kNameSizeAt, &name_size, sizeof name_size);
  std::memcpy(block.get() + kFlagsAt, &flags, sizeof flags);
  return FileRecord(std::move(block));
}

FileRecord FileRecord::Embed(const FileRecord& from, uint8_t* storage) {
  std::memcpy(storage, from.block_.get(), from.block_size());
  const uint32_t flags = kEmbedded;
  std::memcpy(storage + kFlagsAt, &flags, sizeof flags);
  return FileRecord(Block(storage));
}

FileRecord FileRecord::WithName(std::string_view name) {
  if (name.size() > std::numeric_limits<uint32_t>::max() - kFixedSize - 1) return {};
  const uint32_t length = kFixedSize + static_cast<uint32_t>(name.size()) + 1;
  // The name ends at its first NUL, as when the record is read back from its bytes.
  const void* nul = name.empty() ? nullptr : std::memchr(name.data(), 0, name.size());
  const size_t name_size = nul ? static_cast<const char*>(nul) - name.data() : name.size();
  FileRecord record = Allocate(length, static_cast<uint32_t>(name_size));
  if (!record) return {};
  uint8_t* bytes = record.block_.get() + kHeaderBytes;
  std::memset(bytes, 0, length);
  StoreLittle32(bytes, length);
  if (!name.empty()) std::memcpy(bytes + kFixedSize, name.data(), name.size());
  return record;
}

FileRecord FileRecord::FromFindData(const FindData& data) {
  return FromFindData(data, data.name);
}

FileRecord FileRecord::FromFindData(const FindData& data, std::string_view name) {
  FileRecord record = WithName(name);
  if (record) {
    record.set_attributes(data.attributes);
    record.set_size(data.size);
    record.set_local_time(data.last_write_time);
  }
  return record;
}

FileRecord FileRecord::FromListingItem(const FindData& item) {
  FileRecord record = WithName(item.name);
  if (record) {
    record.set_attributes(item.attributes);
    record.set_size(item.size);
    record.set_server_time(item.last_write_time);
  }
  return record;
}

FileRecord FileRecord::FromBytes(const uint8_t* bytes, uint32_t length) {
  // The caller has checked that the terminator lies inside the record.
  const char* name = reinterpret_cast<const char*>(bytes + kFixedSize);
  FileRecord record = Allocate(length, static_cast<uint32_t>(std::strlen(name)));
  if (record) std::memcpy(record.block_.get() + kHeaderBytes, bytes, length);
  return record;
}

FileRecord FileRecord::Copy() const {
  if (!block_) return FileRecord();
  FileRecord copy = Allocate(length(), static_cast<uint32_t>(name().size()));
  if (copy) std::memcpy(copy.block_.get() + kHeaderBytes, bytes(), length());
  return copy;
}

void FileRecord::set_size(uint64_t value) {
  Write32(8, static_cast<uint32_t>(value >> 32));
  Write32(12, static_cast<uint32_t>(value));
}

std::string_view FileRecord::name() const {
  if (!block_) return {};
  uint32_t size;
  std::memcpy(&size, block_.get() + kNameSizeAt, sizeof size);
  return std::string_view(reinterpret_cast<const char*>(bytes() + kFixedSize), size);
}

uint32_t FileRecord::Read32(uint32_t offset) const {
  return LoadLittle32(block_.get() + kHeaderBytes + offset);
}
uint64_t FileRecord::Read64(uint32_t offset) const {
  return LoadLittle64(block_.get() + kHeaderBytes + offset);
}
void FileRecord::Write32(uint32_t offset, uint32_t value) {
  StoreLittle32(block_.get() + kHeaderBytes + offset, value);
}
void FileRecord::Write64(uint32_t offset, uint64_t value) {
  StoreLittle64(block_.get() + kHeaderBytes + offset, value);
}

}  // namespace qbrk
