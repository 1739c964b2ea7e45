// The live properties of a resource and the XML they are written in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/dav_elements.h"
#include "core/live_properties.h"
#include "dav_request.h"
#include "dav_xml.h"
#include "disk_store.h"

namespace qbrk::emulator {

struct ResourceInfo {
  std::string rel;
  Node node;  // kMissing for a name only reserved by a lock
};

// The property's element with its value, or nothing when the resource has no such property.
std::optional<std::string> PropertyXml(const DavRequest& request, const QName& name,
                                       const ResourceInfo& resource);

// The properties an allprop request reports (the quota figures only come when named), the
// resource's dead properties included.
std::vector<QName> AllPropNames(const DavRequest& request, const ResourceInfo& resource);

// The element of one active lock, and the lockdiscovery property of a resource.
std::string ActiveLockXml(const DavRequest& request, const Lock& lock);
std::string LockDiscoveryXml(const DavRequest& request, std::string_view rel);

}  // namespace qbrk::emulator
