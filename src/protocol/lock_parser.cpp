#include "protocol/lock_parser.h"

#include "protocol/xml/xml_match.h"

namespace qbrk {

namespace {

ActiveLock ReadActiveLock(const XmlDocument& doc, XmlNodeId active) {
  ActiveLock lock;
  lock.owner = std::string(ElementText(doc, FindChildElement(doc, active, "owner")));
  lock.token = std::string(ElementText(doc, FindPath(doc, active, {"locktoken", "href"})));
  return lock;
}

}  // namespace

bool ReadLockToken(const XmlDocument& doc, std::string* token) {
  const XmlNodeId href =
      FindPath(doc, doc.FirstElement(), {"lockdiscovery", "activelock", "locktoken", "href"});
  if (href == kNoXmlNode) return false;
  *token = std::string(ElementText(doc, href));
  return true;
}

ActiveLock ReadLockDiscovery(const XmlDocument& doc) {
  const XmlNodeId active = FindPath(
      doc, doc.FirstElement(), {"response", "propstat", "prop", "lockdiscovery", "activelock"});
  if (active == kNoXmlNode) return ActiveLock();
  return ReadActiveLock(doc, active);
}

std::vector<ResourceLock> ReadDiskLocks(const XmlDocument& doc) {
  std::vector<ResourceLock> locks;
  const XmlNodeId multistatus = doc.FirstElement();
  for (XmlNodeId response = doc.FirstChild(multistatus); response != kNoXmlNode;
       response = doc.NextSibling(response)) {
    if (!doc.IsElement(response) || doc.Name(response).find("response") == std::string_view::npos)
      continue;
    const XmlNodeId active =
        FindPath(doc, response, {"propstat", "prop", "lockdiscovery", "activelock"});
    if (FindChildElement(doc, active, "owner") == kNoXmlNode) continue;
    ResourceLock entry;
    entry.href = std::string(ElementText(doc, FindChildElement(doc, response, "href")));
    entry.lock = ReadActiveLock(doc, active);
    locks.push_back(std::move(entry));
  }
  return locks;
}

}  // namespace qbrk
