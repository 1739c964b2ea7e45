// The bytes of the local table file: a 68-byte header, then one folder block for the root.
//
// Header: 32 bytes magic ("HV Quellanbrook LocalTable File" and a NUL), u32 header size (68),
// u32 version (2 written; 1 holds server times as milliseconds since 1970), u32 reserved,
// then the quota, used and free sizes as u64. All little-endian, no padding anywhere.
//
// Folder block (offsets from the block's first byte): u32 records offset, u32 folder count,
// u32 file count, u32 per child folder (the child block's offset), the folder's name with its
// NUL, the file records back to back, then the child blocks back to back in list order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "sync/folder_node.h"

namespace qbrk {

inline constexpr char kTableFileName[] = ".Qbrook.dir";
inline constexpr char kTableMagic[] = "HV Quellanbrook LocalTable File";
inline constexpr uint32_t kTableHeaderSize = 68;
inline constexpr uint32_t kTableVersion = 2;
inline constexpr uint32_t kTableVersionMilliseconds = 1;
// Folders nest at most this deep below the root, as the scans allow.
inline constexpr uint32_t kMaxTreeDepth = 128;
// Read-only, hidden and system: the table file's attributes.
inline constexpr uint32_t kTableFileAttributes = 0x1 | 0x2 | 0x4;

struct TableQuota {
  uint64_t quota = 0;
  uint64_t used = 0;
  uint64_t free = 0;
};

// Fills a header of version 2 carrying `quota`.
void BuildTableHeader(const TableQuota& quota, uint8_t header[kTableHeaderSize]);
// True when the header starts with the magic (compared as a NUL-terminated string).
bool HasTableMagic(const uint8_t header[kTableHeaderSize]);
uint32_t TableVersion(const uint8_t header[kTableHeaderSize]);
TableQuota TableQuotaOf(const uint8_t header[kTableHeaderSize]);
// Writes `quota` into bytes 44 to 67 of a header.
void SetTableQuota(const TableQuota& quota, uint8_t header[kTableHeaderSize]);

// Takes a body in pieces, in order; false stops the writing.
class TableBodySink {
 public:
  virtual ~TableBodySink() = default;
  virtual bool Append(const uint8_t* data, size_t size) = 0;
};

// Writes the block of `root` and its subtree to `sink` in pieces of at most 64 KiB (a single
// longer record aside), so that a large table never needs its body in memory. False when
// memory ran out, the sink failed, or the body would need offsets beyond 32 bits.
bool WriteTableBody(const FolderNode& root, TableBodySink& sink);
// The same, appended to `out`.
bool SerializeTableBody(const FolderNode& root, std::vector<uint8_t>* out);

// Gives the parser the body's bytes. The parser never asks for bytes before the start of
// its previous request, so a source may drop what lies before it.
class TableBodySource {
 public:
  virtual ~TableBodySource() = default;
  // The `size` bytes at `offset` (which the parser has checked to lie inside the body),
  // valid until the next call; null when they cannot be had.
  virtual const uint8_t* Bytes(uint64_t offset, size_t size) = 0;
};

// Parses a body of `size` bytes into a new tree. Nothing in it is trusted: a count, offset or
// record length that points outside the body, a record shorter than its fixed part or
// without its NUL inside its length, a child block that does not lie after everything before
// it (so blocks can neither overlap nor loop), two entries of one name in one folder, or
// nesting deeper than kMaxTreeDepth makes it fail with null. Work is linear in the body's
// size.
std::unique_ptr<FolderNode> ParseTableBody(TableBodySource& source, uint64_t size,
                                           uint32_t version);
// The same over a body held in memory.
std::unique_ptr<FolderNode> ParseTableBody(const uint8_t* body, size_t size, uint32_t version);

// A version-1 server time (milliseconds since 1970) as a FILETIME.
uint64_t MillisecondsToFileTime(uint64_t milliseconds);

}  // namespace qbrk
