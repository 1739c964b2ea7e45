// The properties the service computes for a resource, as opposed to dead properties that
// clients store.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dav_bodies.h"

namespace qbrk::emulator {

// Computed properties; PROPPATCH cannot change them (but for getlastmodified).
bool IsLiveProperty(const QName& name);

// The computed properties an allprop request reports (the quota figures only come when
// named). exists is false for a name only reserved by a lock.
std::vector<QName> LivePropertyNames(bool exists, bool is_file);

// The Content-Type of a file, by the extension of its name.
std::string ContentTypeOf(std::string_view name);

}  // namespace qbrk::emulator
