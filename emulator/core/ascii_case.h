// ASCII letters compared and lower-cased byte by byte, as header names, the words of header
// values and mail addresses are.
#pragma once

#include <string>
#include <string_view>

namespace qbrk::emulator {

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b);
bool ContainsIgnoringAsciiCase(std::string_view text, std::string_view part);
std::string LowerAscii(std::string_view text);

}  // namespace qbrk::emulator
