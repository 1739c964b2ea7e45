// The lock answers: the token of LOCK, Depth 0 discovery and disk-wide discovery.
#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/lock_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qbrk::XmlDocument doc;
  if (doc.Parse(std::string(reinterpret_cast<const char*>(data), size)) != qbrk::XmlError::kNone)
    return 0;
  std::string token;
  qbrk::ReadLockToken(doc, &token);
  const qbrk::ActiveLock lock = qbrk::ReadLockDiscovery(doc);
  if (lock.owner.size() + lock.token.size() > size) __builtin_trap();
  for (const auto& entry : qbrk::ReadDiskLocks(doc))
    if (entry.href.size() > size) __builtin_trap();
  return 0;
}
