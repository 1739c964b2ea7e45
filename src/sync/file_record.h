// One file's record: a self-sized block of bytes that is also the form in which the entry is
// stored in the local table file, so that saving and loading copy blocks without conversion.
//
//   0 u32 length (48 + name + 1)     16 u64 local time (FILETIME)   32 16 bytes reserved
//   4 u32 attributes                 24 u64 server time (FILETIME)  48 name, NUL-terminated
//   8 u32 size high, 12 u32 size low (the size keeps its high half first)
// Every integer is little-endian.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/file_system.h"

namespace qbrk {

class FileRecord {
 public:
  static constexpr uint32_t kFixedSize = 48;

  // No record (an entry may have none).
  FileRecord() = default;
  // A record that lives inside its entry's allocation (see FileEntry::New) is copied, not
  // taken, by a move: the copy is empty when memory ran out.
  FileRecord(FileRecord&& other) noexcept;
  FileRecord& operator=(FileRecord&& other) noexcept;

  // A zeroed record carrying `name`; empty when memory ran out or the name cannot be held.
  static FileRecord WithName(std::string_view name);
  // From a local folder search: attributes, size, last-write time and name; server time 0.
  static FileRecord FromFindData(const FindData& data);
  // The same with `name` in place of the find data's name.
  static FileRecord FromFindData(const FindData& data, std::string_view name);
  // From a server listing item: flags word, size, last-modified time as the server time and
  // name; local time 0.
  static FileRecord FromListingItem(const FindData& item);
  // A copy of `length` bytes that the caller has checked to be one whole record.
  static FileRecord FromBytes(const uint8_t* bytes, uint32_t length);
  // A byte-for-byte copy (empty when memory ran out).
  FileRecord Copy() const;

  explicit operator bool() const { return block_ != nullptr; }

  uint32_t length() const { return Read32(0); }
  const uint8_t* bytes() const { return block_ ? block_.get() + kHeaderBytes : nullptr; }

  uint32_t attributes() const { return Read32(4); }
  void set_attributes(uint32_t value) { Write32(4, value); }
  uint64_t size() const { return uint64_t{Read32(8)} << 32 | Read32(12); }
  void set_size(uint64_t value);
  uint64_t local_time() const { return Read64(16); }
  void set_local_time(uint64_t value) { Write64(16, value); }
  uint64_t server_time() const { return Read64(24); }
  void set_server_time(uint64_t value) { Write64(24, value); }
  // The name, without its terminator.
  std::string_view name() const;

 private:
  friend class FileEntry;

  // The block holds a header before the record's bytes, never saved: the name's length (so
  // that a name costs no search for its terminator on every lookup and comparison) and
  // whether the block lives inside an entry's allocation, which frees it.
  static constexpr size_t kHeaderBytes = 8;
  static constexpr uint32_t kEmbedded = 1;
  struct BlockDeleter {
    void operator()(uint8_t* block) const;
  };
  using Block = std::unique_ptr<uint8_t[], BlockDeleter>;

  explicit FileRecord(Block block) : block_(std::move(block)) {}
  // A block for a record of `length` bytes whose name is `name_size` bytes long.
  static FileRecord Allocate(uint32_t length, uint32_t name_size);
  // Header and bytes of the block.
  size_t block_size() const { return kHeaderBytes + length(); }
  // A copy of `from` in `storage` (block_size() bytes), which the caller frees.
  static FileRecord Embed(const FileRecord& from, uint8_t* storage);
  bool embedded() const;
  uint32_t Read32(uint32_t offset) const;
  uint64_t Read64(uint32_t offset) const;
  void Write32(uint32_t offset, uint32_t value);
  void Write64(uint32_t offset, uint64_t value);

  Block block_;
};

// Little-endian access to unaligned bytes (the table file has no alignment anywhere).
uint32_t LoadLittle32(const uint8_t* p);
uint64_t LoadLittle64(const uint8_t* p);
void StoreLittle32(uint8_t* p, uint32_t value);
void StoreLittle64(uint8_t* p, uint64_t value);

}  // namespace qbrk
