#include "dav_elements.h"

#include "protocol/reason_phrase.h"
#include "protocol/service.h"

namespace qbrk::emulator {

namespace {

void AppendTag(std::string* out, const QName& name) {
  if (name.ns == kDavNamespace) {
    *out += "D:";
  } else if (name.ns == kVendorNamespace) {
    *out += "F:";
  }
  *out += name.local;
}

void AppendNamespaceAttribute(std::string* out, const QName& name) {
  if (name.ns == kDavNamespace || name.ns == kVendorNamespace) return;
  *out += " xmlns=\"";
  *out += XmlEscape(name.ns);
  *out += '"';
}

}  // namespace

std::string EmptyElement(const QName& name) {
  std::string xml;
  AppendEmptyElement(&xml, name);
  return xml;
}

void AppendEmptyElement(std::string* out, const QName& name) {
  *out += '<';
  AppendTag(out, name);
  AppendNamespaceAttribute(out, name);
  *out += "/>";
}

std::string Element(const QName& name, std::string_view inner_xml) {
  std::string xml = "<";
  AppendTag(&xml, name);
  AppendNamespaceAttribute(&xml, name);
  xml += '>';
  xml += inner_xml;
  xml += "</";
  AppendTag(&xml, name);
  xml += '>';
  return xml;
}

std::string Dav(std::string_view local, std::string_view inner_xml) {
  std::string xml;
  AppendDav(&xml, local, inner_xml);
  return xml;
}

void AppendDav(std::string* out, std::string_view local, std::string_view inner_xml) {
  *out += "<D:";
  *out += local;
  *out += '>';
  *out += inner_xml;
  *out += "</D:";
  *out += local;
  *out += '>';
}

std::string StatusLine(int status) {
  return "HTTP/1.1 " + std::to_string(status) + " " + std::string(ReasonPhrase(status));
}

std::string MultistatusStart(Charset charset) {
  return "<?xml version=\"1.0\" encoding=\"" + std::string(CharsetName(charset)) +
         "\"?>\n<D:multistatus xmlns:D=\"DAV:\" xmlns:F=\"" + kVendorNamespace + "\">\n";
}

std::string PropstatXml(std::string_view props_xml, int status) {
  std::string xml;
  AppendPropstat(&xml, props_xml, status);
  return xml;
}

void AppendPropstat(std::string* out, std::string_view props_xml, int status) {
  *out += "<D:propstat><D:prop>";
  *out += props_xml;
  *out += "</D:prop><D:status>";
  *out += StatusLine(status);
  *out += "</D:status></D:propstat>";
}

std::string PropPatchAnswerXml(Charset charset, std::string_view href_xml,
                               const std::vector<PropPatchOperation>& ops,
                               const std::vector<int>& statuses) {
  std::string xml = MultistatusStart(charset) + "<D:response><D:href>";
  xml += href_xml;
  xml += "</D:href>";
  for (const int status : {200, 403, 409, 424}) {
    std::string props;
    for (size_t i = 0; i < ops.size(); ++i) {
      if (statuses[i] == status) AppendEmptyElement(&props, ops[i].name);
    }
    if (!props.empty()) AppendPropstat(&xml, props, status);
  }
  xml += "</D:response>\n";
  xml += kMultistatusEnd;
  return xml;
}

std::string ActiveLockXml(const Lock& lock, int64_t now_ms, std::string_view root_href_xml) {
  return Dav(
      "activelock",
      Dav("locktype", "<D:write/>") +
          Dav("lockscope", lock.scope == LockScope::kExclusive ? "<D:exclusive/>" : "<D:shared/>") +
          Dav("depth", lock.infinite ? "infinity" : "0") + Dav("owner", lock.owner_xml) +
          Dav("timeout", "Second-" + std::to_string(lock.SecondsLeft(now_ms))) +
          Dav("locktoken", Dav("href", XmlEscape(lock.token))) +
          Dav("lockroot", Dav("href", root_href_xml)));
}

std::string LockDiscoveryXml(std::string_view active_locks_xml) {
  return active_locks_xml.empty() ? "<D:lockdiscovery/>" : Dav("lockdiscovery", active_locks_xml);
}

std::string LockAnswerXml(Charset charset, std::string_view active_lock_xml) {
  return "<?xml version=\"1.0\" encoding=\"" + std::string(CharsetName(charset)) +
         "\"?>\n<D:prop xmlns:D=\"DAV:\">" + LockDiscoveryXml(active_lock_xml) + "</D:prop>\n";
}

}  // namespace qbrk::emulator
