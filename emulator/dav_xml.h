// The XML bodies of PROPFIND, PROPPATCH and LOCK requests (core/dav_bodies.h), read with a
// real XML parser and with element names resolved to their namespaces.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/checked.h"
#include "core/dav_bodies.h"

namespace qbrk::emulator {

// An empty body asks for all properties.
Checked<PropfindRequest> ParsePropfind(std::string_view body);

// The set and remove instructions in document order.
Checked<std::vector<PropPatchOperation>> ParsePropPatch(std::string_view body);

Checked<LockRequest> ParseLockInfo(std::string_view body);

}  // namespace qbrk::emulator
