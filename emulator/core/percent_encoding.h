// Percent-escapes in request paths and in the addresses the emulator writes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qbrk::emulator {

// Nothing when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> PercentDecode(std::string_view text);

// Escapes every byte except unreserved characters and the ones listed in keep.
std::string PercentEncode(std::string_view bytes, std::string_view keep = "/");

// "%XX" with upper-case digits.
std::string HexByte(unsigned char c);
void AppendHexByte(std::string* out, unsigned char c);

}  // namespace qbrk::emulator
