#include "base64.h"

namespace qbrk::emulator {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int SextetOf(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

}  // namespace

std::optional<std::string> DecodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::string out;
  out.reserve(text.size() / 4 * 3);
  for (size_t i = 0; i < text.size(); i += 4) {
    const bool last = i + 4 == text.size();
    int padding = 0;
    uint32_t group = 0;
    for (size_t k = 0; k < 4; ++k) {
      const char c = text[i + k];
      if (c == '=' && last && k >= 2) {
        ++padding;
        group <<= 6;
        continue;
      }
      const int sextet = SextetOf(c);
      if (sextet < 0 || padding > 0) return std::nullopt;
      group = (group << 6) | static_cast<uint32_t>(sextet);
    }
    out += static_cast<char>((group >> 16) & 0xFF);
    if (padding < 2) out += static_cast<char>((group >> 8) & 0xFF);
    if (padding < 1) out += static_cast<char>(group & 0xFF);
  }
  return out;
}

std::string EncodeBase64(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t n = bytes.size() - i < 3 ? bytes.size() - i : 3;
    uint32_t group = 0;
    for (size_t k = 0; k < 3; ++k) {
      group = (group << 8) | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    }
    out += kAlphabet[(group >> 18) & 63];
    out += kAlphabet[(group >> 12) & 63];
    out += n > 1 ? kAlphabet[(group >> 6) & 63] : '=';
    out += n > 2 ? kAlphabet[group & 63] : '=';
  }
  return out;
}

}  // namespace qbrk::emulator
