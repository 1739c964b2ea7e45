// The plan marks: what planning decided for an entry and what execution has done with it.
// Planning also uses bit 1 in the three source trees to say "matched on the other side".
#pragma once

#include <cstdint>

namespace qbrk {

inline constexpr uint32_t MARK_SEEN = 1;                // folder on both sides; source: matched
inline constexpr uint32_t MARK_UPLOAD = 2;              // local file new or changed
inline constexpr uint32_t MARK_DOWNLOAD = 4;            // server file new or changed
inline constexpr uint32_t MARK_DELETED_ON_SERVER = 8;   // recorded, gone from the server
inline constexpr uint32_t MARK_DELETED_LOCALLY = 16;    // recorded, gone from the local disk
inline constexpr uint32_t MARK_CREATE_LOCAL = 32;       // folder new on the server
inline constexpr uint32_t MARK_CREATE_SERVER = 64;      // folder new locally
inline constexpr uint32_t MARK_DONE = 32768;            // carried out by execution

// A file changed on both sides since the record.
inline constexpr uint32_t kMarkConflict = MARK_UPLOAD | MARK_DOWNLOAD;
// Gone from both sides.
inline constexpr uint32_t kMarkGoneBoth = MARK_DELETED_ON_SERVER | MARK_DELETED_LOCALLY;

}  // namespace qbrk
