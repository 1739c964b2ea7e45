// "Content-Range: bytes first-last/total" of a PUT that sends one piece of a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "checked.h"

namespace qbrk::emulator {

struct ContentRange {
  uint64_t first = 0;
  uint64_t last = 0;
  uint64_t total = 0;

  uint64_t length() const { return last - first + 1; }
};

// Nothing unless the value is exactly that form with first <= last < total.
std::optional<ContentRange> ParseContentRange(std::string_view value);

// What a PUT declares about its body: its length, and the piece of a file it sends.
struct PutDeclaration {
  std::optional<uint64_t> length;
  std::optional<ContentRange> range;

  // What the file holds once complete: the range's total for a piece, else the length.
  std::optional<uint64_t> FileSize() const { return range ? std::optional(range->total) : length; }
};

// Reads Content-Length and Content-Range: 400 for a value that cannot be read, or for the
// two disagreeing.
Checked<PutDeclaration> ParsePutDeclaration(std::optional<std::string_view> content_length,
                                            std::optional<std::string_view> content_range);

// A run of decimal digits that fits in 64 bits; nothing for anything else.
std::optional<uint64_t> ParseDecimal(std::string_view text);

}  // namespace qbrk::emulator
