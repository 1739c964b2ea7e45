#include "protocol/decimal.h"

namespace qbrk {

uint64_t LeadingDecimal(std::string_view text) {
  uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') break;
    const uint64_t digit = static_cast<uint64_t>(c - '0');
    if (value > (UINT64_MAX - digit) / 10) return UINT64_MAX;
    value = value * 10 + digit;
  }
  return value;
}

}  // namespace qbrk
