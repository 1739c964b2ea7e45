#include "dav_properties.h"

#include <algorithm>

#include "http_date.h"
#include "protocol/reason_phrase.h"
#include "protocol/service.h"

namespace qbrk::emulator {

namespace {

std::string TagOf(const QName& name) {
  if (name.ns == kDavNamespace) return "D:" + name.local;
  if (name.ns == kVendorNamespace) return "F:" + name.local;
  return name.local;
}

std::string NamespaceAttribute(const QName& name) {
  if (name.ns == kDavNamespace || name.ns == kVendorNamespace) return {};
  return " xmlns=\"" + XmlEscape(name.ns) + "\"";
}

QName Dav(std::string_view local) {
  return QName{kDavNamespace, std::string(local)};
}

std::string Dav(std::string_view local, std::string_view inner) {
  return Element(Dav(local), inner);
}

}  // namespace

std::string EmptyElement(const QName& name) {
  std::string xml = "<";
  xml += TagOf(name);
  xml += NamespaceAttribute(name);
  xml += "/>";
  return xml;
}

std::string Element(const QName& name, std::string_view inner_xml) {
  const std::string tag = TagOf(name);
  std::string xml = "<";
  xml += tag;
  xml += NamespaceAttribute(name);
  xml += ">";
  xml += inner_xml;
  xml += "</";
  xml += tag;
  xml += ">";
  return xml;
}

std::string StatusLine(int status) {
  return "HTTP/1.1 " + std::to_string(status) + " " + std::string(ReasonPhrase(status));
}

std::string MultistatusStart(Charset charset) {
  return "<?xml version=\"1.0\" encoding=\"" + std::string(CharsetName(charset)) +
         "\"?>\n<D:multistatus xmlns:D=\"DAV:\" xmlns:F=\"" + kVendorNamespace + "\">\n";
}

std::string PropstatXml(std::string_view props_xml, int status) {
  return "<D:propstat><D:prop>" + std::string(props_xml) + "</D:prop><D:status>" +
         StatusLine(status) + "</D:status></D:propstat>";
}

std::optional<std::string> PropertyXml(const DavRequest& request, const QName& name,
                                       const ResourceInfo& resource) {
  const Node& node = resource.node;
  if (name.ns == kVendorNamespace) {
    const Account& account = request.account;
    if (name.local == "getquotasize") return Element(name, std::to_string(account.quota));
    if (name.local == "getusedsize") return Element(name, std::to_string(account.used));
    if (name.local == "getfreesize") return Element(name, std::to_string(account.free()));
    return std::nullopt;
  }
  if (!IsLiveProperty(name)) {
    for (const DeadProperty& p : request.state.properties.Get(request.account.mail, resource.rel)) {
      if (p.name == name) return Element(name, p.value_xml);
    }
    return std::nullopt;
  }
  const std::string& local = name.local;
  if (local == "resourcetype") {
    return node.is_folder() ? Dav("resourcetype", "<D:collection/>") : EmptyElement(name);
  }
  if (local == "lockdiscovery") return LockDiscoveryXml(request, resource.rel);
  if (local == "supportedlock") {
    const std::string write = "<D:locktype><D:write/></D:locktype>";
    return Dav("supportedlock",
               Dav("lockentry", "<D:lockscope><D:exclusive/></D:lockscope>" + write) +
                   Dav("lockentry", "<D:lockscope><D:shared/></D:lockscope>" + write));
  }
  if (local == "getlastmodified" && node.exists()) {
    return Dav("getlastmodified", FormatHttpDate(node.modified));
  }
  if (!node.is_file()) return std::nullopt;
  if (local == "getcontentlength") return Dav("getcontentlength", std::to_string(node.size));
  if (local == "getetag") return Dav("getetag", XmlEscape(node.ETag()));
  if (local == "getcontenttype") return Dav("getcontenttype", ContentTypeOf(resource.rel));
  return std::nullopt;
}

bool IsLiveProperty(const QName& name) {
  if (name.ns == kVendorNamespace) return true;
  if (name.ns != kDavNamespace) return false;
  static constexpr std::string_view kLive[] = {
      "resourcetype",   "getlastmodified", "getcontentlength", "getetag",
      "getcontenttype", "lockdiscovery",   "supportedlock",    "creationdate"};
  return std::find(std::begin(kLive), std::end(kLive), name.local) != std::end(kLive);
}

std::vector<QName> AllPropNames(const DavRequest& request, const ResourceInfo& resource) {
  std::vector<QName> names{Dav("resourcetype")};
  if (resource.node.exists()) names.push_back(Dav("getlastmodified"));
  if (resource.node.is_file()) {
    names.push_back(Dav("getcontentlength"));
    names.push_back(Dav("getetag"));
    names.push_back(Dav("getcontenttype"));
  }
  names.push_back(Dav("lockdiscovery"));
  names.push_back(Dav("supportedlock"));
  for (const DeadProperty& p : request.state.properties.Get(request.account.mail, resource.rel)) {
    names.push_back(p.name);
  }
  return names;
}

std::string ActiveLockXml(const DavRequest& request, const Lock& lock) {
  const int64_t left_ms = lock.expires_ms - request.state.NowMs();
  const int64_t left = left_ms <= 0 ? 0 : (left_ms + 999) / 1000;
  const bool folder = request.Stat(lock.rel).is_folder();
  return Dav(
      "activelock",
      Dav("locktype", "<D:write/>") +
          Dav("lockscope", lock.scope == LockScope::kExclusive ? "<D:exclusive/>" : "<D:shared/>") +
          Dav("depth", lock.infinite ? "infinity" : "0") + Dav("owner", lock.owner_xml) +
          Dav("timeout", "Second-" + std::to_string(left)) +
          Dav("locktoken", Dav("href", XmlEscape(lock.token))) +
          Dav("lockroot", Dav("href", request.HrefXml(lock.rel, folder))));
}

std::string LockDiscoveryXml(const DavRequest& request, std::string_view rel) {
  std::string inner;
  for (const Lock* lock : request.state.locks.Covering(request.account.mail, rel)) {
    inner += ActiveLockXml(request, *lock);
  }
  return inner.empty() ? "<D:lockdiscovery/>" : Dav("lockdiscovery", inner);
}

std::string ContentTypeOf(std::string_view name) {
  struct Type {
    std::string_view extension;
    std::string_view type;
  };
  static constexpr Type kTypes[] = {
      {".txt", "text/plain"},      {".htm", "text/html"},   {".html", "text/html"},
      {".css", "text/css"},        {".csv", "text/csv"},    {".xml", "application/xml"},
      {".jpg", "image/jpeg"},      {".jpeg", "image/jpeg"}, {".png", "image/png"},
      {".gif", "image/gif"},       {".bmp", "image/bmp"},   {".pdf", "application/pdf"},
      {".zip", "application/zip"}, {".mp3", "audio/mpeg"},  {".mp4", "video/mp4"},
  };
  const std::string lower = LowerAscii(name.substr(name.rfind('/') + 1));
  for (const Type& t : kTypes) {
    if (lower.size() > t.extension.size() &&
        std::string_view(lower).substr(lower.size() - t.extension.size()) == t.extension) {
      return std::string(t.type);
    }
  }
  return "application/octet-stream";
}

}  // namespace qbrk::emulator
