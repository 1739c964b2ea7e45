// Code-page 932 (Shift_JIS) byte handling: the library's text is multibyte, and no path or
// name operation may split a double-byte character or mistake a trail byte for ASCII.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qbrk {

// Lead bytes of code page 932: 0x81..0x9F and 0xE0..0xFC.
constexpr bool IsLeadByte(unsigned char c) {
  return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC);
}

// Position of the last single-byte `c` in `text` (trail bytes never match), or npos.
size_t FindLastSingleByte(std::string_view text, char c);

// Position of the first single-byte `c` at or after `from`, or npos.
size_t FindSingleByte(std::string_view text, char c, size_t from = 0);

// Every single-byte `from` replaced by `to`; trail bytes of double-byte characters stay, so
// "表" (0x95 0x5C) survives a swap of backslashes for slashes.
std::string ReplaceSingleByte(std::string_view text, char from, char to);

// ASCII letters lower-cased, double-byte characters left whole.
std::string LowerAscii(std::string_view text);
// The same in place, for loops that reuse one string's storage.
void LowerAsciiInPlace(std::string* text);
// ASCII letters upper-cased, double-byte characters left whole.
std::string UpperAscii(std::string_view text);

// True when `text` ends with a single-byte `c` (a trail byte of that value does not count).
bool EndsWithSingleByte(std::string_view text, char c);

// The case-insensitive form of a name as the file system compares names: ASCII letters and
// the double-byte full-width Latin, Greek and Cyrillic capitals of code page 932 become small
// letters. (Windows folds by Unicode; these are the cased letters of code page 932 a name is
// likely to hold. Roman numerals and the duplicate NEC/IBM encodings are left as they are.)
std::string FoldCase(std::string_view text);
// The same in place, for loops that reuse one string's storage.
void FoldCaseInPlace(std::string* text);

// Equality ignoring ASCII case, double-byte aware.
bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b);

}  // namespace qbrk
