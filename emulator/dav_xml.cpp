#include "dav_xml.h"

#include <pugixml.hpp>

#include <memory>

#include "core/xml_text.h"

namespace qbrk::emulator {

namespace {

// Deeper documents are refused: no request the service understands comes close, and the
// limit keeps namespace lookups and re-serialization cheap.
constexpr int kMaxDepth = 64;

Refusal Malformed(std::string reason) {
  return Refusal{400, std::move(reason)};
}

std::string_view PrefixOf(std::string_view qualified) {
  const size_t colon = qualified.find(':');
  return colon == std::string_view::npos ? std::string_view() : qualified.substr(0, colon);
}

std::string_view LocalOf(std::string_view qualified) {
  const size_t colon = qualified.find(':');
  return colon == std::string_view::npos ? qualified : qualified.substr(colon + 1);
}

// The namespace bound to prefix at node, or nothing when none is declared. The empty
// prefix falls back to "no namespace".
std::optional<std::string> LookupNamespace(pugi::xml_node node, std::string_view prefix) {
  const std::string attribute = prefix.empty() ? "xmlns" : "xmlns:" + std::string(prefix);
  for (pugi::xml_node n = node; n && n.type() == pugi::node_element; n = n.parent()) {
    if (pugi::xml_attribute a = n.attribute(attribute.c_str())) return std::string(a.value());
  }
  if (prefix.empty()) return std::string();
  if (prefix == "xml") return std::string("http://www.w3.org/XML/1998/namespace");
  return std::nullopt;
}

QName NameOf(pugi::xml_node node) {
  const std::string_view qualified = node.name();
  return QName{LookupNamespace(node, PrefixOf(qualified)).value_or(std::string()),
               std::string(LocalOf(qualified))};
}

// Checks the whole tree without recursion: depth, declared prefixes and no prefix bound
// to the empty namespace.
std::optional<Refusal> CheckTree(pugi::xml_node root) {
  struct Item {
    pugi::xml_node node;
    int depth;
  };
  std::vector<Item> stack{{root, 1}};
  while (!stack.empty()) {
    const Item item = stack.back();
    stack.pop_back();
    if (item.depth > kMaxDepth) return Malformed("XML nested too deeply");
    for (pugi::xml_attribute a : item.node.attributes()) {
      const std::string_view name = a.name();
      if (name.substr(0, 6) == "xmlns:" && a.value()[0] == '\0') {
        return Malformed("a namespace prefix bound to the empty name");
      }
    }
    if (!LookupNamespace(item.node, PrefixOf(item.node.name()))) {
      return Malformed("undeclared namespace prefix");
    }
    for (pugi::xml_node child : item.node.children()) {
      if (child.type() == pugi::node_element) stack.push_back({child, item.depth + 1});
    }
  }
  return std::nullopt;
}

// A parsed body with exactly one root element that passed CheckTree.
class Document {
 public:
  Checked<pugi::xml_node> Load(std::string_view body) {
    if (body.size() > kMaxXmlBodyBytes) return Refusal{413, "XML body too large"};
    const pugi::xml_parse_result result =
        doc_.load_buffer(body.data(), body.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!result) return Malformed(std::string("malformed XML: ") + result.description());
    pugi::xml_node root;
    for (pugi::xml_node child : doc_.children()) {
      if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
        return Malformed("text outside the root element");
      }
      if (child.type() != pugi::node_element) continue;
      if (root) return Malformed("more than one root element");
      root = child;
    }
    if (!root) return Malformed("no root element");
    if (auto refusal = CheckTree(root)) return *refusal;
    return root;
  }

 private:
  pugi::xml_document doc_;
};

std::vector<pugi::xml_node> Elements(pugi::xml_node parent) {
  std::vector<pugi::xml_node> out;
  for (pugi::xml_node child : parent.children()) {
    if (child.type() == pugi::node_element) out.push_back(child);
  }
  return out;
}

pugi::xml_node FindDavChild(pugi::xml_node parent, std::string_view local) {
  for (pugi::xml_node child : Elements(parent)) {
    if (NameOf(child).Is(kDavNamespace, local)) return child;
  }
  return {};
}

std::string TextOf(pugi::xml_node node) {
  std::string text;
  for (pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
      text += child.value();
    }
  }
  return text;
}

// Writes the content of node again, each element with its own namespace declaration, so
// that it means the same wherever it is placed in a response.
void Serialize(pugi::xml_node node, std::string* out) {
  for (pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
      *out += XmlEscape(child.value());
    } else if (child.type() == pugi::node_element) {
      const QName name = NameOf(child);
      *out += "<" + name.local + " xmlns=\"" + XmlEscape(name.ns) + "\"";
      for (pugi::xml_attribute a : child.attributes()) {
        const std::string_view attr = a.name();
        if (attr == "xmlns" || attr.substr(0, 6) == "xmlns:" || attr.find(':') != attr.npos) {
          continue;
        }
        *out += " " + std::string(attr) + "=\"" + XmlEscape(a.value()) + "\"";
      }
      *out += ">";
      Serialize(child, out);
      *out += "</" + name.local + ">";
    }
  }
}

}  // namespace

Checked<PropfindRequest> ParsePropfind(std::string_view body) {
  PropfindRequest request;
  if (TrimXmlSpace(body).empty()) return request;
  Document doc;
  auto root = doc.Load(body);
  if (!root.ok()) return root.refusal();
  if (!NameOf(root.value()).Is(kDavNamespace, "propfind")) return Malformed("not a propfind");
  bool chosen = false;
  for (pugi::xml_node child : Elements(root.value())) {
    const QName name = NameOf(child);
    if (name.ns != kDavNamespace) continue;
    if (name.local == "prop") {
      request.kind = PropfindRequest::Kind::kProp;
      for (pugi::xml_node prop : Elements(child))
        request.names.push_back(NameOf(prop));
    } else if (name.local == "allprop") {
      request.kind = PropfindRequest::Kind::kAllProp;
    } else if (name.local == "propname") {
      request.kind = PropfindRequest::Kind::kPropName;
    } else {
      continue;  // "include" and unknown extensions add nothing here
    }
    if (chosen) return Malformed("propfind asks for more than one kind of answer");
    chosen = true;
  }
  if (!chosen) return Malformed("propfind without prop, allprop or propname");
  return request;
}

Checked<std::vector<PropPatchOperation>> ParsePropPatch(std::string_view body) {
  Document doc;
  auto root = doc.Load(body);
  if (!root.ok()) return root.refusal();
  if (!NameOf(root.value()).Is(kDavNamespace, "propertyupdate")) {
    return Malformed("not a propertyupdate");
  }
  std::vector<PropPatchOperation> operations;
  for (pugi::xml_node instruction : Elements(root.value())) {
    const QName name = NameOf(instruction);
    const bool remove = name.Is(kDavNamespace, "remove");
    if (!remove && !name.Is(kDavNamespace, "set")) continue;
    pugi::xml_node prop = FindDavChild(instruction, "prop");
    if (!prop) return Malformed("set or remove without prop");
    for (pugi::xml_node p : Elements(prop)) {
      std::string value_xml;
      Serialize(p, &value_xml);
      operations.push_back({remove, NameOf(p), TrimXmlSpace(TextOf(p)), std::move(value_xml)});
    }
  }
  if (operations.empty()) return Malformed("propertyupdate without instructions");
  return operations;
}

Checked<LockRequest> ParseLockInfo(std::string_view body) {
  Document doc;
  auto root = doc.Load(body);
  if (!root.ok()) return root.refusal();
  if (!NameOf(root.value()).Is(kDavNamespace, "lockinfo")) return Malformed("not a lockinfo");
  LockRequest request;
  pugi::xml_node scope = FindDavChild(root.value(), "lockscope");
  pugi::xml_node type = FindDavChild(root.value(), "locktype");
  if (!scope || !type) return Malformed("lockinfo without lockscope or locktype");
  if (FindDavChild(scope, "exclusive")) {
    request.scope = LockScope::kExclusive;
  } else if (FindDavChild(scope, "shared")) {
    request.scope = LockScope::kShared;
  } else {
    return Malformed("unknown lock scope");
  }
  if (!FindDavChild(type, "write")) return Refusal{422, "only write locks exist"};
  if (pugi::xml_node owner = FindDavChild(root.value(), "owner")) {
    request.has_owner = true;
    Serialize(owner, &request.owner_xml);
  }
  return request;
}

}  // namespace qbrk::emulator
