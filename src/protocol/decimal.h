// Reading numbers out of server text: the decimal digits at the start of a text.
#pragma once

#include <cstdint>
#include <string_view>

namespace qbrk {

// The value of the decimal digits that begin `text` (none give 0); saturates at the
// largest value instead of wrapping, so hostile digit runs stay harmless.
uint64_t LeadingDecimal(std::string_view text);

}  // namespace qbrk
