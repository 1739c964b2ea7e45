// Text written into the XML and HTML the emulator sends.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qbrk::emulator {

// The character encoding of a response document. The client asks for Shift_JIS and then
// gets names as raw bytes; other clients get UTF-8 documents with escaped addresses.
enum class Charset { kUtf8, kShiftJis };

std::string_view CharsetName(Charset charset);
// What an Accept-Charset header asks for: Shift_JIS (or windows-31j), else UTF-8.
Charset ChosenCharset(std::optional<std::string_view> accept_charset);

// The text without the XML white space (space, tab, CR, LF) at its ends.
std::string TrimXmlSpace(std::string_view text);

// Escapes &, <, > and the double quote.
std::string XmlEscape(std::string_view text);

// XmlEscape, and bytes that are not a valid character of the charset, or that XML cannot
// carry at all (control bytes other than tab, line feed and carriage return), are written
// as "%XX" so that the document stays well-formed.
std::string XmlSafeText(std::string_view bytes, Charset charset);
void AppendXmlSafeText(std::string* out, std::string_view bytes, Charset charset);

// An address for a href element: raw bytes (made XML-safe) for Shift_JIS documents,
// percent-escaped for UTF-8 documents. Both work byte by byte or character by character, so
// the address of a path is that of its parts one after the other.
std::string HrefText(std::string_view path, Charset charset);
void AppendHrefText(std::string* out, std::string_view path, Charset charset);

}  // namespace qbrk::emulator
