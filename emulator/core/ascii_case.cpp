#include "ascii_case.h"

namespace qbrk::emulator {

namespace {

char LowerAsciiByte(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAsciiByte(a[i]) != LowerAsciiByte(b[i])) return false;
  }
  return true;
}

bool ContainsIgnoringAsciiCase(std::string_view text, std::string_view part) {
  if (part.size() > text.size()) return false;
  for (size_t i = 0; i + part.size() <= text.size(); ++i) {
    if (EqualsIgnoringAsciiCase(text.substr(i, part.size()), part)) return true;
  }
  return false;
}

std::string LowerAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    c = LowerAsciiByte(c);
  return out;
}

}  // namespace qbrk::emulator
