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
void MapAsciiInPlace(std::string* text, Map map) {
  std::string& out = *text;
  for (size_t i = 0; i < out.size(); ++i) {
    if (IsLeadByte(static_cast<unsigned char>(out[i]))) {
      ++i;
    } else {
      out[i] = map(out[i]);
    }
  }
}

template <typename Map>
std::string MapAscii(std::string_view text, Map map) {
  std::string out(text);
  MapAsciiInPlace(&out, map);
  return out;
}

char ToLowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }
char ToUpperAscii(char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; }
}  // namespace

std::string ReplaceSingleByte(std::string_view text, char from, char to) {
  return MapAscii(text, [from, to](char c) { return c == from ? to : c; });
}

std::string LowerAscii(std::string_view text) { return MapAscii(text, ToLowerAscii); }

void LowerAsciiInPlace(std::string* text) { MapAsciiInPlace(text, ToLowerAscii); }

std::string UpperAscii(std::string_view text) { return MapAscii(text, ToUpperAscii); }

bool EndsWithSingleByte(std::string_view text, char c) {
  return !text.empty() && FindLastSingleByte(text, c) == text.size() - 1;
}

std::string FoldCase(std::string_view text) {
  std::string out(text);
  FoldCaseInPlace(&out);
  return out;
}

void FoldCaseInPlace(std::string* text) {
  std::string& out = *text;
  for (size_t i = 0; i < out.size(); ++i) {
    const unsigned char lead = static_cast<unsigned char>(out[i]);
    if (!IsLeadByte(lead)) {
      if (lead >= 'A' && lead <= 'Z') out[i] = static_cast<char>(lead - 'A' + 'a');
      continue;
    }
    if (i + 1 >= out.size()) break;
    const unsigned char trail = static_cast<unsigned char>(out[++i]);
    if (lead == 0x82 && trail >= 0x60 && trail <= 0x79) {  // full-width A..Z -> a..z
      out[i] = static_cast<char>(trail + 0x21);
    } else if (lead == 0x83 && trail >= 0x9F && trail <= 0xB6) {  // Greek capitals
      out[i] = static_cast<char>(trail + 0x20);
    } else if (lead == 0x84 && trail >= 0x40 && trail <= 0x60) {  // Cyrillic capitals
      unsigned lower = 0x70 + (trail - 0x40);
      if (lower >= 0x7F) ++lower;  // 0x7F is never a trail byte
      out[i] = static_cast<char>(lower);
    }
  }
}

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && LowerAscii(a) == LowerAscii(b);
}

}  // namespace qbrk
