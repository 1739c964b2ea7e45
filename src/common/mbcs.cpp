#include "common/mbcs.h"

namespace qbrk {

size_t FindLastSingleByte(std::string_view text, char c) {
  size_t found = std::string_view::npos;
  for (size_t i = 0; i < text.size(); ++i) {
    if (IsLeadByte(static_cast<unsigned char>(text[i]))) {
      ++i;  // skip the trail byte
    } else if (text[i] == c) {
      found = i;
    }
  }
  return found;
}

size_t FindSingleByte(std::string_view text, char c, size_t from) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (IsLeadByte(static_cast<unsigned char>(text[i]))) {
      ++i;
    } else if (i >= from && text[i] == c) {
      return i;
    }
  }
  return std::string_view::npos;
}

namespace {
template <typename Map>
std::string MapAscii(std::string_view text, Map map) {
  std::string out(text);
  for (size_t i = 0; i < out.size(); ++i) {
    if (IsLeadByte(static_cast<unsigned char>(out[i]))) {
      ++i;
    } else {
      out[i] = map(out[i]);
    }
  }
  return out;
}
}  // namespace

std::string LowerAscii(std::string_view text) {
  return MapAscii(text, [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; });
}

std::string UpperAscii(std::string_view text) {
  return MapAscii(text, [](char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; });
}

bool EndsWithSingleByte(std::string_view text, char c) {
  return !text.empty() && FindLastSingleByte(text, c) == text.size() - 1;
}

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && LowerAscii(a) == LowerAscii(b);
}

}  // namespace qbrk
