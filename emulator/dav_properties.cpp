#include "dav_properties.h"

#include "core/http_date.h"
#include "protocol/service.h"

namespace qbrk::emulator {

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
  if (local == "supportedlock") return std::string(kSupportedLockXml);
  if (local == "getlastmodified" && node.exists()) {
    return Dav("getlastmodified", FormatHttpDate(node.modified));
  }
  if (!node.is_file()) return std::nullopt;
  if (local == "getcontentlength") return Dav("getcontentlength", std::to_string(node.size));
  if (local == "getetag") return Dav("getetag", XmlEscape(node.ETag()));
  if (local == "getcontenttype") return Dav("getcontenttype", ContentTypeOf(resource.rel));
  return std::nullopt;
}

std::vector<QName> AllPropNames(const DavRequest& request, const ResourceInfo& resource) {
  std::vector<QName> names = LivePropertyNames(resource.node.exists(), resource.node.is_file());
  for (const DeadProperty& p : request.state.properties.Get(request.account.mail, resource.rel)) {
    names.push_back(p.name);
  }
  return names;
}

std::string ActiveLockXml(const DavRequest& request, const Lock& lock) {
  const bool folder = request.Stat(lock.rel).is_folder();
  return ActiveLockXml(lock, request.state.NowMs(), request.HrefXml(lock.rel, folder));
}

std::string LockDiscoveryXml(const DavRequest& request, std::string_view rel) {
  std::string active;
  for (const Lock* lock : request.state.locks.Covering(request.account.mail, rel)) {
    active += ActiveLockXml(request, *lock);
  }
  return LockDiscoveryXml(active);
}

}  // namespace qbrk::emulator
