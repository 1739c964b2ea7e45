// Reading the lock answers of the server: the token of a new lock, the active lock of one
// resource, and the active locks of a whole disk.
#pragma once

#include <string>
#include <vector>

#include "protocol/xml/xml_document.h"

namespace qbrk {

// The owner and token of an active lock, as the server wrote them (trimmed of nothing).
struct ActiveLock {
  std::string owner;
  std::string token;
};

// A resource of a disk-wide discovery and its active lock.
struct ResourceLock {
  std::string href;
  ActiveLock lock;
};

// The answer to LOCK: from the first element through lockdiscovery, activelock, locktoken
// and href. False when the chain breaks.
bool ReadLockToken(const XmlDocument& doc, std::string* token);

// The answer to a Depth 0 discovery: response, propstat, prop, lockdiscovery, activelock,
// then the owner's text and the text of locktoken/href. Either is "" when missing (no
// active lock gives both "").
ActiveLock ReadLockDiscovery(const XmlDocument& doc);

// The answer to a Depth infinity discovery: every response whose propstat, prop,
// lockdiscovery, activelock and owner are present, with its href and lock.
std::vector<ResourceLock> ReadDiskLocks(const XmlDocument& doc);

}  // namespace qbrk
