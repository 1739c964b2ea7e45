#include "model_xml.h"

#include "protocol/xml/xml_document.h"

namespace qbrk::model {

namespace {

// Deeper documents are refused, as the service does; no request it understands comes close.
constexpr int kMaxDepth = 64;

Refusal Malformed(std::string reason) {
  return Refusal{400, std::move(reason)};
}

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// A parsed request body: the reader's tree and the namespace declarations found in its text.
class Body {
 public:
  Refusal Load(std::string_view text) {
    ReadDeclarations(text);
    if (doc_.Parse(std::string(text)) != XmlError::kNone) return Malformed("malformed XML");
    root_ = doc_.FirstElement();
    if (root_ == kNoXmlNode) return Malformed("no root element");
    if (bad_declaration_) return Malformed("a namespace prefix bound to the empty name");
    struct Item {
      XmlNodeId node;
      int depth;
    };
    std::vector<Item> stack{{root_, 1}};
    while (!stack.empty()) {
      const Item item = stack.back();
      stack.pop_back();
      if (item.depth > kMaxDepth) return Malformed("XML nested too deeply");
      if (!Namespace(Prefix(doc_.Name(item.node)))) return Malformed("undeclared namespace prefix");
      for (XmlNodeId child : Elements(item.node))
        stack.push_back({child, item.depth + 1});
    }
    return {};
  }

  XmlNodeId root() const { return root_; }

  QName NameOf(XmlNodeId node) const {
    const std::string_view qualified = doc_.Name(node);
    const size_t colon = qualified.find(':');
    const std::string_view local =
        colon == std::string_view::npos ? qualified : qualified.substr(colon + 1);
    return QName{Namespace(Prefix(qualified)).value_or(std::string()), std::string(local)};
  }

  std::vector<XmlNodeId> Elements(XmlNodeId parent) const {
    std::vector<XmlNodeId> out;
    for (XmlNodeId child = doc_.FirstChild(parent); child != kNoXmlNode;
         child = doc_.NextSibling(child)) {
      if (doc_.IsElement(child)) out.push_back(child);
    }
    return out;
  }

  XmlNodeId FindDavChild(XmlNodeId parent, std::string_view local) const {
    for (XmlNodeId child : Elements(parent)) {
      if (NameOf(child).Is(kDavNamespace, local)) return child;
    }
    return kNoXmlNode;
  }

  // The text directly inside an element.
  std::string TextOf(XmlNodeId node) const {
    std::string text;
    for (XmlNodeId child = doc_.FirstChild(node); child != kNoXmlNode;
         child = doc_.NextSibling(child)) {
      text += doc_.Text(child);
    }
    return text;
  }

 private:
  static std::string_view Prefix(std::string_view qualified) {
    const size_t colon = qualified.find(':');
    return colon == std::string_view::npos ? std::string_view() : qualified.substr(0, colon);
  }

  std::optional<std::string> Namespace(std::string_view prefix) const {
    for (const auto& [declared, uri] : namespaces_) {
      if (declared == prefix) return uri;
    }
    if (prefix.empty()) return std::string();  // no default namespace: none
    if (prefix == "xml") return std::string("http://www.w3.org/XML/1998/namespace");
    return std::nullopt;
  }

  // Every `xmlns="..."` and `xmlns:p="..."` in the text.
  void ReadDeclarations(std::string_view text) {
    for (size_t at = text.find("xmlns"); at != std::string_view::npos;
         at = text.find("xmlns", at + 5)) {
      if (at == 0 || !IsSpace(text[at - 1])) continue;
      size_t p = at + 5;
      std::string prefix;
      if (p < text.size() && text[p] == ':') {
        size_t end = p + 1;
        while (end < text.size() && !IsSpace(text[end]) && text[end] != '=')
          ++end;
        prefix = std::string(text.substr(p + 1, end - p - 1));
        p = end;
      }
      while (p < text.size() && IsSpace(text[p]))
        ++p;
      if (p >= text.size() || text[p] != '=') continue;
      ++p;
      while (p < text.size() && IsSpace(text[p]))
        ++p;
      if (p >= text.size() || (text[p] != '"' && text[p] != '\'')) continue;
      const size_t close = text.find(text[p], p + 1);
      if (close == std::string_view::npos) continue;
      std::string uri(text.substr(p + 1, close - p - 1));
      if (!prefix.empty() && uri.empty()) bad_declaration_ = true;
      bool known = false;
      for (const auto& entry : namespaces_)
        known = known || entry.first == prefix;
      if (!known) namespaces_.emplace_back(std::move(prefix), std::move(uri));
    }
  }

  XmlDocument doc_;
  XmlNodeId root_ = kNoXmlNode;
  std::vector<std::pair<std::string, std::string>> namespaces_;
  bool bad_declaration_ = false;
};

}  // namespace

Refusal ReadPropfind(std::string_view body, PropfindRequest* out) {
  *out = PropfindRequest();
  if (TrimXmlSpace(body).empty()) return {};
  Body doc;
  if (Refusal r = doc.Load(body)) return r;
  if (!doc.NameOf(doc.root()).Is(kDavNamespace, "propfind")) return Malformed("not a propfind");
  bool chosen = false;
  for (XmlNodeId child : doc.Elements(doc.root())) {
    const QName name = doc.NameOf(child);
    if (name.ns != kDavNamespace) continue;
    if (name.local == "prop") {
      out->kind = PropfindRequest::Kind::kProp;
      for (XmlNodeId prop : doc.Elements(child))
        out->names.push_back(doc.NameOf(prop));
    } else if (name.local == "allprop") {
      out->kind = PropfindRequest::Kind::kAllProp;
    } else if (name.local == "propname") {
      out->kind = PropfindRequest::Kind::kPropName;
    } else {
      continue;  // "include" and unknown extensions add nothing here
    }
    if (chosen) return Malformed("propfind asks for more than one kind of answer");
    chosen = true;
  }
  if (!chosen) return Malformed("propfind without prop, allprop or propname");
  return {};
}

Refusal ReadPropPatch(std::string_view body, std::vector<PropPatchOperation>* out) {
  out->clear();
  // The one body our client sends, read without the XML reader (which would give the same).
  constexpr std::string_view kHead =
      "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propertyupdate xmlns:D=\"DAV:\"><D:set>"
      "<D:prop><D:getlastmodified>";
  constexpr std::string_view kTail = "</D:getlastmodified></D:prop></D:set></D:propertyupdate>";
  if (body.size() >= kHead.size() + kTail.size() && body.substr(0, kHead.size()) == kHead &&
      body.substr(body.size() - kTail.size()) == kTail) {
    const std::string_view value =
        body.substr(kHead.size(), body.size() - kHead.size() - kTail.size());
    if (value.find_first_of("<&>") == std::string_view::npos) {
      out->push_back({false, QName{kDavNamespace, "getlastmodified"}, TrimXmlSpace(value), ""});
      return {};
    }
  }
  Body doc;
  if (Refusal r = doc.Load(body)) return r;
  if (!doc.NameOf(doc.root()).Is(kDavNamespace, "propertyupdate")) {
    return Malformed("not a propertyupdate");
  }
  for (XmlNodeId instruction : doc.Elements(doc.root())) {
    const QName name = doc.NameOf(instruction);
    const bool remove = name.Is(kDavNamespace, "remove");
    if (!remove && !name.Is(kDavNamespace, "set")) continue;
    const XmlNodeId prop = doc.FindDavChild(instruction, "prop");
    if (prop == kNoXmlNode) return Malformed("set or remove without prop");
    for (XmlNodeId p : doc.Elements(prop))
      out->push_back({remove, doc.NameOf(p), TrimXmlSpace(doc.TextOf(p)), ""});
  }
  if (out->empty()) return Malformed("propertyupdate without instructions");
  return {};
}

Refusal ReadLockInfo(std::string_view body, LockRequest* out) {
  *out = LockRequest();
  Body doc;
  if (Refusal r = doc.Load(body)) return r;
  if (!doc.NameOf(doc.root()).Is(kDavNamespace, "lockinfo")) return Malformed("not a lockinfo");
  const XmlNodeId scope = doc.FindDavChild(doc.root(), "lockscope");
  const XmlNodeId type = doc.FindDavChild(doc.root(), "locktype");
  if (scope == kNoXmlNode || type == kNoXmlNode) {
    return Malformed("lockinfo without lockscope or locktype");
  }
  if (doc.FindDavChild(scope, "exclusive") != kNoXmlNode) {
    out->scope = LockScope::kExclusive;
  } else if (doc.FindDavChild(scope, "shared") != kNoXmlNode) {
    out->scope = LockScope::kShared;
  } else {
    return Malformed("unknown lock scope");
  }
  if (doc.FindDavChild(type, "write") == kNoXmlNode) return {422, "only write locks exist"};
  if (const XmlNodeId owner = doc.FindDavChild(doc.root(), "owner"); owner != kNoXmlNode) {
    out->has_owner = true;
    out->owner_xml = XmlEscape(doc.TextOf(owner));
  }
  return {};
}

}  // namespace qbrk::model
