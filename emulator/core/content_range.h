// "Content-Range: bytes first-last/total" of a PUT that sends one piece of a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qbrk::emulator {

struct ContentRange {
  uint64_t first = 0;
  uint64_t last = 0;
  uint64_t total = 0;

  uint64_t length() const { return last - first + 1; }
};

// Nothing unless the value is exactly that form with first <= last < total.
std::optional<ContentRange> ParseContentRange(std::string_view value);

// A run of decimal digits that fits in 64 bits; nothing for anything else.
std::optional<uint64_t> ParseDecimal(std::string_view text);

}  // namespace qbrk::emulator
