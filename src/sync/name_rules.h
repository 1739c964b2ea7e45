// Which names can take part in synchronization. A server listing is untrusted input: a
// member whose name cannot be one Windows file name must never reach the local disk. And a
// local name that code page 932 cannot hold comes back from the system with "?" in place of
// the missing characters, so it cannot be opened by that name.
#pragma once

#include <string>
#include <string_view>

namespace qbrk {

enum class NameProblem {
  kNone,
  kEmpty,
  kDotName,            // "." or ".."
  kReservedCharacter,  // \ / : * ? " < > | as single-byte characters
  kControlByte,        // a byte below 0x20
  kDeviceName,         // CON, PRN, AUX, NUL, COM1-9, LPT1-9 with or without an extension
  kTrailingDotOrBlank,
  kTooLong,            // more than a local name can hold
  kBadEncoding,        // a lead byte without a valid trail byte
};

// Longest local name: 255 characters, and 259 bytes as the ANSI find data holds it.
inline constexpr size_t kMaxLocalNameCharacters = 255;
inline constexpr size_t kMaxLocalNameBytes = 259;

// Whether `name` (code page 932) can be one Windows file or folder name. Trail bytes are
// part of their character: "ソ" (0x83 0x5C) and "十" (0x8F 0x5C) are ordinary names.
NameProblem CheckLocalName(std::string_view name);

// True when a name returned by the system holds a single-byte "?": a character that code page
// 932 could not represent.
bool HasSubstitutedCharacter(std::string_view name);

// The ASCII lower-casing that the local scan applies to every name, so that local and
// recorded names meet in one form; double-byte characters (full-width letters, kana, kanji)
// are left alone.
std::string LowerCaseLocalName(std::string_view name);
// The same into `*out`, reusing its storage.
void LowerCaseLocalName(std::string_view name, std::string* out);

}  // namespace qbrk
