// The library's string table (IDs 101..184), as code-page 932 text.
#pragma once

#include <cstdint>
#include <string>

namespace qbrk {

class StringTable {
 public:
  virtual ~StringTable() = default;
  // The text of `id`, or an empty string when there is none.
  virtual std::string Load(uint32_t id) = 0;
};

}  // namespace qbrk
