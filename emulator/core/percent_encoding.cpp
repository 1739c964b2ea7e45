#include "percent_encoding.h"

namespace qbrk::emulator {

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

}  // namespace

std::optional<std::string> PercentDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = HexValue(text[i + 1]);
    const int low = HexValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

std::string HexByte(unsigned char c) {
  std::string out;
  AppendHexByte(&out, c);
  return out;
}

void AppendHexByte(std::string* out, unsigned char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  *out += '%';
  *out += kDigits[c >> 4];
  *out += kDigits[c & 15];
}

std::string PercentEncode(std::string_view bytes, std::string_view keep) {
  std::string out;
  out.reserve(bytes.size());
  for (const char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    if (IsUnreserved(c) || keep.find(ch) != std::string_view::npos) {
      out += ch;
    } else {
      AppendHexByte(&out, c);
    }
  }
  return out;
}

}  // namespace qbrk::emulator
