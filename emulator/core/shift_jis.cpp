#include "shift_jis.h"

namespace qbrk::emulator {

bool IsShiftJisLeadByte(unsigned char c) {
  return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC);
}

bool IsShiftJisTrailByte(unsigned char c) {
  return (c >= 0x40 && c <= 0x7E) || (c >= 0x80 && c <= 0xFC);
}

size_t ShiftJisCharLength(std::string_view text, size_t i) {
  const auto c = static_cast<unsigned char>(text[i]);
  if (c < 0x80 || (c >= 0xA1 && c <= 0xDF)) return 1;
  if (!IsShiftJisLeadByte(c)) return 0;
  if (i + 1 >= text.size()) return 0;
  return IsShiftJisTrailByte(static_cast<unsigned char>(text[i + 1])) ? 2 : 0;
}

bool ContainsSingleByte(std::string_view text, char c) {
  for (size_t i = 0; i < text.size();) {
    const size_t n = ShiftJisCharLength(text, i);
    if (n == 1 && text[i] == c) return true;
    i += n == 0 ? 1 : n;
  }
  return false;
}

size_t CountShiftJisChars(std::string_view text) {
  size_t count = 0;
  for (size_t i = 0; i < text.size(); ++count) {
    const size_t n = ShiftJisCharLength(text, i);
    i += n == 0 ? 1 : n;
  }
  return count;
}

}  // namespace qbrk::emulator
