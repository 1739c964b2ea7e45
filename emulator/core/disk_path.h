// Request paths mapped onto the accounts' disks, and the rules that keep them there.
//
// A disk path is "/~" + user + "/file/" + the path below the disk root. Below the root,
// each segment is percent-decoded into the raw bytes of the name (code page 932 for the
// client) and must stay a single name: "." and "..", an escaped "/" and a single-byte "\"
// are refused, so nothing can leave the disk it names.
#pragma once

#include <string>
#include <string_view>

#include "checked.h"

namespace qbrk::emulator {

inline constexpr size_t kMaxNameBytes = 255;
inline constexpr size_t kMaxPathBytes = 2048;

// A path below some root: names joined by "/", "" for the root itself.
struct RelativePath {
  std::string rel;
  bool trailing_slash = false;
};

struct DiskTarget {
  std::string user;  // what follows "/~", decoded
  RelativePath path;
};

// Splits "a/b/c/" into checked names. With decode, "%XX" escapes are decoded first.
Checked<RelativePath> ParseRelativePath(std::string_view text, bool decode);

// Parses "/~user/file[/...]". A target of another shape is refused with 404.
Checked<DiskTarget> ParseDiskTarget(std::string_view target, bool decode);

// The path of an address given in a Destination or If header: an absolute URL is reduced to
// its path.
std::string_view AddressPath(std::string_view address);

// The root of a user's disk as it appears on the wire, with its trailing "/".
std::string DiskRootHref(std::string_view user);

// Names a new resource may not have: control bytes cannot be written in XML.
bool IsCreatableName(std::string_view name);

std::string ParentOf(std::string_view rel);
std::string NameOf(std::string_view rel);
std::string ChildOf(std::string_view rel, std::string_view name);
// rel is ancestor itself or lies below it.
bool IsWithin(std::string_view rel, std::string_view ancestor);

}  // namespace qbrk::emulator
