// What the XML bodies of PROPFIND, PROPPATCH and LOCK requests ask for, with element names
// resolved to their namespaces. The emulator reads the bodies with a real XML parser
// (emulator/dav_xml.h); the in-memory model of the service, which has no such parser in
// every build, with the library's own reader.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lock_table.h"

namespace qbrk::emulator {

inline constexpr char kDavNamespace[] = "DAV:";

struct QName {
  std::string ns;
  std::string local;

  bool Is(std::string_view n, std::string_view l) const { return ns == n && local == l; }
  bool operator==(const QName&) const = default;
};

// Bodies larger than this are refused before they are parsed.
inline constexpr size_t kMaxXmlBodyBytes = 1 << 20;

struct PropfindRequest {
  enum class Kind { kAllProp, kPropName, kProp };
  Kind kind = Kind::kAllProp;
  std::vector<QName> names;  // for kProp
};

struct PropPatchOperation {
  bool remove = false;
  QName name;
  std::string text;       // the value's text content, trimmed
  std::string value_xml;  // the whole content, re-serialized (kept for dead properties)
};

struct LockRequest {
  LockScope scope = LockScope::kExclusive;
  bool has_owner = false;
  std::string owner_xml;  // the owner element's content, ready to be written
};

}  // namespace qbrk::emulator
