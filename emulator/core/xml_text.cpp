#include "xml_text.h"

#include "ascii_case.h"
#include "percent_encoding.h"
#include "shift_jis.h"

namespace qbrk::emulator {

namespace {

// Length of the valid UTF-8 sequence at text[i], or 0.
size_t Utf8CharLength(std::string_view text, size_t i) {
  const auto c = static_cast<unsigned char>(text[i]);
  if (c < 0x80) return 1;
  size_t n;
  uint32_t code;
  if (c >= 0xC2 && c <= 0xDF) {
    n = 2;
    code = c & 0x1F;
  } else if (c >= 0xE0 && c <= 0xEF) {
    n = 3;
    code = c & 0x0F;
  } else if (c >= 0xF0 && c <= 0xF4) {
    n = 4;
    code = c & 0x07;
  } else {
    return 0;
  }
  if (i + n > text.size()) return 0;
  for (size_t k = 1; k < n; ++k) {
    const auto t = static_cast<unsigned char>(text[i + k]);
    if ((t & 0xC0) != 0x80) return 0;
    code = (code << 6) | (t & 0x3F);
  }
  const bool overlong = (n == 3 && code < 0x800) || (n == 4 && code < 0x10000);
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (overlong || surrogate || code > 0x10FFFF || code == 0xFFFE || code == 0xFFFF) return 0;
  return n;
}

bool IsXmlControl(unsigned char c) {
  return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7F;
}

// A byte that stands for itself in either charset and needs no escape.
bool IsPlainByte(unsigned char c) {
  return c >= 0x20 && c < 0x7F && c != '&' && c != '<' && c != '>' && c != '"';
}

void AppendEscaped(std::string* out, char c) {
  switch (c) {
    case '&':
      *out += "&amp;";
      break;
    case '<':
      *out += "&lt;";
      break;
    case '>':
      *out += "&gt;";
      break;
    case '"':
      *out += "&quot;";
      break;
    default:
      *out += c;
  }
}

}  // namespace

std::string_view CharsetName(Charset charset) {
  return charset == Charset::kShiftJis ? "Shift_JIS" : "utf-8";
}

Charset ChosenCharset(std::optional<std::string_view> accept_charset) {
  if (accept_charset && (ContainsIgnoringAsciiCase(*accept_charset, "shift_jis") ||
                         ContainsIgnoringAsciiCase(*accept_charset, "windows-31j"))) {
    return Charset::kShiftJis;
  }
  return Charset::kUtf8;
}

std::string TrimXmlSpace(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(first, last - first + 1));
}

std::string XmlEscape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text)
    AppendEscaped(&out, c);
  return out;
}

std::string XmlSafeText(std::string_view bytes, Charset charset) {
  std::string out;
  out.reserve(bytes.size());
  AppendXmlSafeText(&out, bytes, charset);
  return out;
}

void AppendXmlSafeText(std::string* out, std::string_view bytes, Charset charset) {
  for (size_t i = 0; i < bytes.size();) {
    // Listings are mostly plain ASCII: it goes over in runs.
    size_t run = i;
    while (run < bytes.size() && IsPlainByte(static_cast<unsigned char>(bytes[run])))
      ++run;
    if (run > i) {
      out->append(bytes.substr(i, run - i));
      i = run;
      continue;
    }
    const auto c = static_cast<unsigned char>(bytes[i]);
    const size_t n =
        charset == Charset::kShiftJis ? ShiftJisCharLength(bytes, i) : Utf8CharLength(bytes, i);
    if (n == 0 || (n == 1 && IsXmlControl(c))) {
      AppendHexByte(out, c);
      ++i;
    } else if (n == 1) {
      AppendEscaped(out, bytes[i++]);
    } else {
      out->append(bytes.substr(i, n));
      i += n;
    }
  }
}

std::string HrefText(std::string_view path, Charset charset) {
  std::string out;
  AppendHrefText(&out, path, charset);
  return out;
}

void AppendHrefText(std::string* out, std::string_view path, Charset charset) {
  if (charset == Charset::kShiftJis) {
    AppendXmlSafeText(out, path, charset);
  } else {
    *out += XmlEscape(PercentEncode(path, "/~@!$&'()*+,;=:"));
  }
}

}  // namespace qbrk::emulator
