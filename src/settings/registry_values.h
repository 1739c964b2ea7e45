// Typed access to one registry value: open the key, read or write the value, close the key.
// Readers check the stored type and size and never trust the stored bytes to be terminated,
// so hand-edited or damaged values come back as kBadData instead of garbage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace qbrk {

// How a read went. Callers fall back to their default on anything but kOk; the distinction
// matters only where a missing value is written back or a missing key counts as success.
enum class ValueRead {
  kOk,
  kNoKey,    // the key could not be opened
  kMissing,  // the key opened, the value is not there
  kBadData,  // the value exists but has the wrong type or size
};

// A REG_DWORD of exactly 4 bytes.
ValueRead ReadDwordValue(Registry& registry, RegistryRoot root, const std::string& key,
                         const std::string& name, uint32_t* value);

// A REG_SZ (or REG_EXPAND_SZ, taken as it stands) read with the two-call protocol: size
// first, then the bytes. The text ends at the first zero byte or at the stored size,
// whichever comes first. Text longer than `max_length` bytes (terminator excluded) and a
// stored size of 0 are kBadData.
ValueRead ReadStringValue(Registry& registry, RegistryRoot root, const std::string& key,
                          const std::string& name, size_t max_length, std::string* text);

// A REG_BINARY of at most `max_size` bytes.
ValueRead ReadBinaryValue(Registry& registry, RegistryRoot root, const std::string& key,
                          const std::string& name, size_t max_size, std::vector<uint8_t>* data);

// Creates the key when needed and stores exactly `size` bytes; false when it could not.
bool WriteRegistryValue(Registry& registry, RegistryRoot root, const std::string& key,
                        const std::string& name, uint32_t type, const void* data, size_t size);

}  // namespace qbrk
