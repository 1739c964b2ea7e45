// The live properties of a resource and the XML they are written in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dav_request.h"
#include "dav_xml.h"
#include "disk_store.h"

namespace qbrk::emulator {

struct ResourceInfo {
  std::string rel;
  Node node;  // kMissing for a name only reserved by a lock
};

// <D:name/>, <F:name/> for the vendor namespace, or <name xmlns="ns"/> for any other.
std::string EmptyElement(const QName& name);
std::string Element(const QName& name, std::string_view inner_xml);

// The property's element with its value, or nothing when the resource has no such property.
std::optional<std::string> PropertyXml(const DavRequest& request, const QName& name,
                                       const ResourceInfo& resource);

// The properties an allprop request reports (the quota figures only come when named), the
// resource's dead properties included.
std::vector<QName> AllPropNames(const DavRequest& request, const ResourceInfo& resource);

// Properties the service computes; PROPPATCH cannot change them (but for getlastmodified).
bool IsLiveProperty(const QName& name);

// "HTTP/1.1 207 Multi-Status" and the like, for status elements.
std::string StatusLine(int status);
// The XML declaration and the opening tag of a multistatus answer.
std::string MultistatusStart(Charset charset);
inline constexpr char kMultistatusEnd[] = "</D:multistatus>\n";
std::string PropstatXml(std::string_view props_xml, int status);

std::string ActiveLockXml(const DavRequest& request, const Lock& lock);
std::string LockDiscoveryXml(const DavRequest& request, std::string_view rel);

std::string ContentTypeOf(std::string_view name);

}  // namespace qbrk::emulator
