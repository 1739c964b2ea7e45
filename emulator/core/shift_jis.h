// Byte-level facts of code page 932 text, which is how the client names its files.
#pragma once

#include <cstddef>
#include <string_view>

namespace qbrk::emulator {

bool IsShiftJisLeadByte(unsigned char c);
bool IsShiftJisTrailByte(unsigned char c);

// Length in bytes of the character starting at text[i]: 1 or 2, or 0 when the bytes there
// are not a valid character (a stray byte, or a lead byte without a trail byte).
size_t ShiftJisCharLength(std::string_view text, size_t i);

// True when c occurs as a character of its own, not as the trail byte of a double-byte one.
bool ContainsSingleByte(std::string_view text, char c);

// Characters counted as the user sees them; an invalid byte counts as one.
size_t CountShiftJisChars(std::string_view text);

}  // namespace qbrk::emulator
