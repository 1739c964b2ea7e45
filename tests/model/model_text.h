// Paths and text of the model service: request paths mapped onto the disk with the service's
// rules, and the escapes of the XML and HTML it writes.
//
// A disk path is "/~" + user + "/file/" + the path below the disk root. Below the root each
// segment is percent-decoded into the raw bytes of a name (code page 932 for our client) and
// must stay one name: "." and "..", an escaped "/" and a single-byte "\" are refused, so
// nothing leaves the disk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "protocol/reason_phrase.h"

namespace qbrk::model {

inline constexpr size_t kMaxNameBytes = 255;
inline constexpr size_t kMaxPathBytes = 2048;

// Why a request is refused; status 0 refuses nothing.
struct Refusal {
  uint32_t status = 0;
  std::string reason;
  explicit operator bool() const { return status != 0; }
};

// "/~user/file[/name...[/]]" taken apart.
struct DiskTarget {
  std::string user;  // what follows "/~", decoded
  std::string rel;   // names joined by "/", "" for the disk root
  bool trailing_slash = false;
};

// Parses a request path; a path of another shape is 404.
Refusal ParseDiskTarget(std::string_view target, DiskTarget* out);

std::optional<std::string> PercentDecode(std::string_view text);
// Unreserved bytes and those in `keep` stay, the rest become "%XX".
std::string PercentEncode(std::string_view bytes, std::string_view keep);

// Length of the code page 932 character at text[i]: 1, 2, or 0 for a byte that starts no
// valid character.
size_t ShiftJisCharLength(std::string_view text, size_t i);

// Names a new resource may not have: control bytes cannot be written in XML.
bool IsCreatableName(std::string_view name);

std::string ParentOf(std::string_view rel);
std::string NameOf(std::string_view rel);
std::string ChildOf(std::string_view rel, std::string_view name);
// rel is ancestor itself or lies below it.
bool IsWithin(std::string_view rel, std::string_view ancestor);

bool EqualsAsciiNoCase(std::string_view a, std::string_view b);
bool ContainsAsciiNoCase(std::string_view text, std::string_view part);
std::string LowerAsciiBytes(std::string_view text);

// &, <, > and the double quote.
std::string XmlEscape(std::string_view text);
// XmlEscape, with bytes that start no code page 932 character and control bytes written as
// "%XX", so that a Shift_JIS document stays well-formed.
std::string XmlSafeShiftJis(std::string_view bytes);
void AppendXmlSafeShiftJis(std::string* out, std::string_view bytes);

// The document encoding of an answer: our client asks for Shift_JIS and gets names as raw
// bytes; other clients get UTF-8 documents with escaped addresses.
enum class Charset { kUtf8, kShiftJis };
std::string_view CharsetName(Charset charset);
// An address ready for a href element. Escaping works byte by byte or character by
// character, so the address of a path is that of its parts one after the other.
std::string HrefText(std::string_view path, Charset charset);
void AppendHrefText(std::string* out, std::string_view path, Charset charset);

// "Sun, 06 Nov 1994 08:49:37 GMT"; nothing for a time whose year has not four digits.
// Written without printf, which the sanitizers make slow.
void AppendHttpDate(std::string* out, uint64_t file_time);
std::string HttpDate(uint64_t file_time);
// Lower-case hexadecimal digits, without leading zeros (at least `width` digits).
void AppendHex(std::string* out, uint64_t value, int width = 1);

}  // namespace qbrk::model
