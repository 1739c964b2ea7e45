// The record of a lock left open by an interrupted upload ("LockToken"): a 32-bit length,
// the locked resource's path, a 32-bit length, the lock token; no terminators.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qbrk {

struct LockTokenRecord {
  std::string path;
  std::string token;
};

std::vector<uint8_t> EncodeLockTokenRecord(const LockTokenRecord& record);
// False unless the two lengths describe the bytes exactly.
bool DecodeLockTokenRecord(const std::vector<uint8_t>& bytes, LockTokenRecord* record);

}  // namespace qbrk
