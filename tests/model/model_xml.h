// The XML of the model service: the bodies of PROPFIND, PROPPATCH and LOCK requests, read
// with the library's own XML reader, and the elements of its answers.
//
// The reader keeps no attributes, so namespace declarations are read from the body's text
// apart, as one flat table (the first declaration of a prefix wins). Our client declares each
// prefix once; a body that binds one prefix to two namespaces is read with the first.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model_locks.h"
#include "model_text.h"

namespace qbrk::model {

inline constexpr char kDavNamespace[] = "DAV:";
// Bodies larger than this are refused (413) before they are read.
inline constexpr size_t kMaxXmlBodyBytes = 1 << 20;

struct QName {
  std::string ns;
  std::string local;

  bool Is(std::string_view n, std::string_view l) const { return ns == n && local == l; }
  bool operator==(const QName&) const = default;
};

struct PropfindRequest {
  enum class Kind { kAllProp, kPropName, kProp };
  Kind kind = Kind::kAllProp;
  std::vector<QName> names;  // for kProp
};
// An empty body asks for all properties. A refusal (400) when it is not a propfind.
Refusal ReadPropfind(std::string_view body, PropfindRequest* out);

struct PropPatchOperation {
  bool remove = false;
  QName name;
  std::string text;  // the value's text, trimmed
};
// The set and remove instructions in document order.
Refusal ReadPropPatch(std::string_view body, std::vector<PropPatchOperation>* out);

struct LockRequest {
  LockScope scope = LockScope::kExclusive;
  bool has_owner = false;
  std::string owner_xml;  // the owner's text, escaped (elements inside it are not kept)
};
Refusal ReadLockInfo(std::string_view body, LockRequest* out);

// <D:name/>, <F:name/> for the vendor namespace, or <name xmlns="ns"/> for any other.
std::string EmptyElement(const QName& name);
void AppendEmptyElement(std::string* out, const QName& name);
std::string Element(const QName& name, std::string_view inner_xml);
// <D:local>inner</D:local>
std::string Dav(std::string_view local, std::string_view inner_xml);

// The XML declaration and the opening tag of a multistatus answer.
std::string MultistatusStart(Charset charset);
inline constexpr char kMultistatusEnd[] = "</D:multistatus>\n";
std::string PropstatXml(std::string_view props_xml, uint32_t status);
void AppendPropstat(std::string* out, std::string_view props_xml, uint32_t status);

}  // namespace qbrk::model
