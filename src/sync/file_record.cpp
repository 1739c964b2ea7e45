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

FileRecord FileRecord::WithName(std::string_view name) {
  if (name.size() > std::numeric_limits<uint32_t>::max() - kFixedSize - 1) return {};
  const uint32_t length = kFixedSize + static_cast<uint32_t>(name.size()) + 1;
  std::unique_ptr<uint8_t[]> block(new (std::nothrow) uint8_t[length]());
  if (!block) return {};
  StoreLittle32(block.get(), length);
  if (!name.empty()) std::memcpy(block.get() + kFixedSize, name.data(), name.size());
  return FileRecord(std::move(block));
}

FileRecord FileRecord::FromFindData(const FindData& data) {
  FileRecord record = WithName(data.name);
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
  std::unique_ptr<uint8_t[]> block(new (std::nothrow) uint8_t[length]);
  if (!block) return {};
  std::memcpy(block.get(), bytes, length);
  return FileRecord(std::move(block));
}

FileRecord FileRecord::Copy() const {
  return block_ ? FromBytes(block_.get(), length()) : FileRecord();
}

void FileRecord::set_size(uint64_t value) {
  Write32(8, static_cast<uint32_t>(value >> 32));
  Write32(12, static_cast<uint32_t>(value));
}

std::string_view FileRecord::name() const {
  if (!block_) return {};
  // The loader only accepts records whose terminator lies inside their length.
  const char* name = reinterpret_cast<const char*>(block_.get() + kFixedSize);
  return std::string_view(name, std::strlen(name));
}

uint32_t FileRecord::Read32(uint32_t offset) const { return LoadLittle32(block_.get() + offset); }
uint64_t FileRecord::Read64(uint32_t offset) const { return LoadLittle64(block_.get() + offset); }
void FileRecord::Write32(uint32_t offset, uint32_t value) {
  StoreLittle32(block_.get() + offset, value);
}
void FileRecord::Write64(uint32_t offset, uint64_t value) {
  StoreLittle64(block_.get() + offset, value);
}

}  // namespace qbrk
