// The XML bodies of PROPFIND, PROPPATCH and LOCK requests, read with a real XML parser and
// with element names resolved to their namespaces.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/checked.h"
#include "core/lock_table.h"

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

// An empty body asks for all properties.
Checked<PropfindRequest> ParsePropfind(std::string_view body);

struct PropPatchOperation {
  bool remove = false;
  QName name;
  std::string text;       // the value's text content, trimmed
  std::string value_xml;  // the whole content, re-serialized
};

// The set and remove instructions in document order.
Checked<std::vector<PropPatchOperation>> ParsePropPatch(std::string_view body);

struct LockRequest {
  LockScope scope = LockScope::kExclusive;
  bool has_owner = false;
  std::string owner_xml;  // the owner element's content, re-serialized
};

Checked<LockRequest> ParseLockInfo(std::string_view body);

}  // namespace qbrk::emulator
