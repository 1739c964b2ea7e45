#include "protocol/base64.h"

#include <cstdint>

namespace qbrk {

std::string Base64Encode(std::string_view bytes) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const uint32_t v = static_cast<uint8_t>(bytes[i]) << 16 |
                       static_cast<uint8_t>(bytes[i + 1]) << 8 | static_cast<uint8_t>(bytes[i + 2]);
    out += kAlphabet[v >> 18];
    out += kAlphabet[(v >> 12) & 63];
    out += kAlphabet[(v >> 6) & 63];
    out += kAlphabet[v & 63];
  }
  const size_t rest = bytes.size() - i;
  if (rest) {
    uint32_t v = static_cast<uint8_t>(bytes[i]) << 16;
    if (rest == 2) v |= static_cast<uint8_t>(bytes[i + 1]) << 8;
    out += kAlphabet[v >> 18];
    out += kAlphabet[(v >> 12) & 63];
    out += rest == 2 ? kAlphabet[(v >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

}  // namespace qbrk
