#include "model_text.h"

#include "common/file_time.h"

namespace qbrk::model {

namespace {

constexpr std::string_view kDiskSegment = "file";

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

std::string HexByte(unsigned char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  return {'%', kDigits[c >> 4], kDigits[c & 15]};
}

bool IsTrailByte(unsigned char c) {
  return (c >= 0x40 && c <= 0x7E) || (c >= 0x80 && c <= 0xFC);
}

// A trail byte 0x5C ("表", "ソ") belongs to its character and is no backslash.
bool ContainsSingleByte(std::string_view text, char c) {
  for (size_t i = 0; i < text.size();) {
    const size_t n = ShiftJisCharLength(text, i);
    if (n == 1 && text[i] == c) return true;
    i += n == 0 ? 1 : n;
  }
  return false;
}

Refusal CheckName(std::string_view name) {
  if (name == "." || name == "..") return {403, "dot segments are not allowed"};
  if (name.find('/') != std::string_view::npos) return {403, "an escaped slash is not allowed"};
  if (name.find('\0') != std::string_view::npos) return {400, "NUL in a name"};
  if (ContainsSingleByte(name, '\\')) return {403, "a backslash is not allowed"};
  if (name.size() > kMaxNameBytes) return {414, "name too long"};
  return {};
}

char LowerAsciiByte(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
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

bool IsXmlControl(unsigned char c) {
  return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7F;
}

// A single byte that goes into XML as it is.
bool IsPlainByte(unsigned char c) {
  return c >= 0x20 && c < 0x7F && c != '&' && c != '<' && c != '>' && c != '"';
}

void AppendDigits(std::string* out, int value, int width) {
  char digits[8];
  for (int i = width - 1; i >= 0; --i, value /= 10)
    digits[i] = static_cast<char>('0' + value % 10);
  out->append(digits, static_cast<size_t>(width));
}

}  // namespace

Refusal ParseDiskTarget(std::string_view target, DiskTarget* out) {
  *out = DiskTarget();
  if (target.substr(0, 2) != "/~") return {404, "not a disk path"};
  const size_t user_end = target.find('/', 2);
  auto user = PercentDecode(
      target.substr(2, user_end == std::string_view::npos ? target.npos : user_end - 2));
  if (!user) return {400, "bad percent escape"};
  out->user = std::move(*user);
  if (out->user.empty() || user_end == std::string_view::npos) return {404, "not a disk path"};
  std::string_view rest = target.substr(user_end + 1);
  if (rest.substr(0, kDiskSegment.size()) != kDiskSegment) return {404, "not a disk path"};
  rest.remove_prefix(kDiskSegment.size());
  if (rest.empty()) return {};  // "/~user/file": the root without its slash
  if (rest.front() != '/') return {404, "not a disk path"};
  rest.remove_prefix(1);
  for (size_t start = 0; start <= rest.size();) {
    size_t end = rest.find('/', start);
    if (end == std::string_view::npos) end = rest.size();
    const std::string_view raw = rest.substr(start, end - start);
    const bool last = end == rest.size();
    if (raw.empty()) {
      if (last && start > 0) out->trailing_slash = true;
      if (!last) return {400, "empty path segment"};
      break;
    }
    auto name = PercentDecode(raw);
    if (!name) return {400, "bad percent escape"};
    if (Refusal r = CheckName(*name)) return r;
    if (!out->rel.empty()) out->rel += '/';
    out->rel += *name;
    if (out->rel.size() > kMaxPathBytes) return {414, "path too long"};
    start = end + 1;
  }
  if (out->rel.empty()) out->trailing_slash = true;
  return {};
}

std::optional<std::string> PercentDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = HexValue(text[i + 1]);
    const int low = HexValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

std::string PercentEncode(std::string_view bytes, std::string_view keep) {
  std::string out;
  out.reserve(bytes.size());
  for (const char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    if (IsUnreserved(c) || keep.find(ch) != std::string_view::npos) {
      out += ch;
    } else {
      out += HexByte(c);
    }
  }
  return out;
}

size_t ShiftJisCharLength(std::string_view text, size_t i) {
  const auto c = static_cast<unsigned char>(text[i]);
  if (c < 0x80 || (c >= 0xA1 && c <= 0xDF)) return 1;
  const bool lead = (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC);
  if (!lead || i + 1 >= text.size()) return 0;
  return IsTrailByte(static_cast<unsigned char>(text[i + 1])) ? 2 : 0;
}

bool IsCreatableName(std::string_view name) {
  for (const char c : name) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x20 || b == 0x7F) return false;
  }
  return !name.empty();
}

std::string ParentOf(std::string_view rel) {
  const size_t slash = rel.rfind('/');
  return slash == std::string_view::npos ? std::string() : std::string(rel.substr(0, slash));
}

std::string NameOf(std::string_view rel) {
  const size_t slash = rel.rfind('/');
  return std::string(slash == std::string_view::npos ? rel : rel.substr(slash + 1));
}

std::string ChildOf(std::string_view rel, std::string_view name) {
  return rel.empty() ? std::string(name) : std::string(rel) + "/" + std::string(name);
}

bool IsWithin(std::string_view rel, std::string_view ancestor) {
  if (ancestor.empty()) return true;
  if (rel.size() < ancestor.size() || rel.substr(0, ancestor.size()) != ancestor) return false;
  return rel.size() == ancestor.size() || rel[ancestor.size()] == '/';
}

bool EqualsAsciiNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAsciiByte(a[i]) != LowerAsciiByte(b[i])) return false;
  }
  return true;
}

bool ContainsAsciiNoCase(std::string_view text, std::string_view part) {
  for (size_t i = 0; i + part.size() <= text.size(); ++i) {
    if (EqualsAsciiNoCase(text.substr(i, part.size()), part)) return true;
  }
  return false;
}

std::string LowerAsciiBytes(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    c = LowerAsciiByte(c);
  return out;
}

std::string XmlEscape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text)
    AppendEscaped(&out, c);
  return out;
}

std::string XmlSafeShiftJis(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  AppendXmlSafeShiftJis(&out, bytes);
  return out;
}

void AppendXmlSafeShiftJis(std::string* out, std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    // Plain ASCII goes over in runs.
    size_t run = i;
    while (run < bytes.size() && IsPlainByte(static_cast<unsigned char>(bytes[run])))
      ++run;
    if (run > i) {
      out->append(bytes.substr(i, run - i));
      i = run;
      continue;
    }
    const auto c = static_cast<unsigned char>(bytes[i]);
    const size_t n = ShiftJisCharLength(bytes, i);
    if (n == 0 || (n == 1 && IsXmlControl(c))) {
      constexpr char kDigits[] = "0123456789ABCDEF";
      *out += '%';
      *out += kDigits[c >> 4];
      *out += kDigits[c & 15];
      ++i;
    } else if (n == 1) {
      AppendEscaped(out, bytes[i++]);
    } else {
      out->append(bytes.substr(i, n));
      i += n;
    }
  }
}

std::string_view CharsetName(Charset charset) {
  return charset == Charset::kShiftJis ? "Shift_JIS" : "utf-8";
}

std::string HrefText(std::string_view path, Charset charset) {
  std::string out;
  AppendHrefText(&out, path, charset);
  return out;
}

void AppendHrefText(std::string* out, std::string_view path, Charset charset) {
  if (charset == Charset::kShiftJis) {
    AppendXmlSafeShiftJis(out, path);
  } else {
    *out += XmlEscape(PercentEncode(path, "/~@!$&'()*+,;=:"));
  }
}

void AppendHttpDate(std::string* out, uint64_t file_time) {
  static constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  CalendarTime t;
  if (!FileTimeToCalendar(file_time, &t) || t.year < 1000 || t.year > 9999 || t.month < 1 ||
      t.month > 12 || t.day_of_week < 0 || t.day_of_week > 6) {
    return;
  }
  *out += kWeekdays[t.day_of_week];
  *out += ", ";
  AppendDigits(out, t.day, 2);
  *out += ' ';
  *out += kMonths[t.month - 1];
  *out += ' ';
  AppendDigits(out, t.year, 4);
  *out += ' ';
  AppendDigits(out, t.hour, 2);
  *out += ':';
  AppendDigits(out, t.minute, 2);
  *out += ':';
  AppendDigits(out, t.second, 2);
  *out += " GMT";
}

std::string HttpDate(uint64_t file_time) {
  std::string text;
  AppendHttpDate(&text, file_time);
  return text;
}

void AppendHex(std::string* out, uint64_t value, int width) {
  char digits[16];
  int n = 0;
  do {
    digits[n++] = "0123456789abcdef"[value & 15];
    value >>= 4;
  } while (value != 0 || n < width);
  while (n > 0)
    *out += digits[--n];
}

}  // namespace qbrk::model
