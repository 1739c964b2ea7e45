// Strict base64 (standard alphabet, "=" padding) for Basic credentials.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qbrk::emulator {

// Nothing when the text is not canonical base64: a length that is not a multiple of 4,
// a character outside the alphabet, or padding anywhere but at the end.
std::optional<std::string> DecodeBase64(std::string_view text);
std::string EncodeBase64(std::string_view bytes);

}  // namespace qbrk::emulator
