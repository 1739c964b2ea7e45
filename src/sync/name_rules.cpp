#include "sync/name_rules.h"

#include <array>
#include <cstring>

#include "common/mbcs.h"

namespace qbrk {

namespace {

bool IsTrailByte(unsigned char c) { return c >= 0x40 && c <= 0xFC && c != 0x7F; }

bool IsDeviceName(std::string_view name) {
  // The part before the first dot, with blanks before that dot ignored, as Windows reads it.
  std::string_view base = name.substr(0, name.find('.'));
  while (!base.empty() && base.back() == ' ') base.remove_suffix(1);
  if (base.size() > 7) return false;  // longer than every device name
  const std::string upper = UpperAscii(base);
  static constexpr std::array<const char*, 6> kPlain = {"CON", "PRN", "AUX", "NUL", "CONIN$",
                                                        "CONOUT$"};
  for (const char* device : kPlain)
    if (upper == device) return true;
  return upper.size() == 4 && (upper.compare(0, 3, "COM") == 0 || upper.compare(0, 3, "LPT") == 0) &&
         upper[3] >= '1' && upper[3] <= '9';
}

}  // namespace

NameProblem CheckLocalName(std::string_view name) {
  if (name.empty()) return NameProblem::kEmpty;
  if (name == "." || name == "..") return NameProblem::kDotName;
  if (name.size() > kMaxLocalNameBytes) return NameProblem::kTooLong;
  size_t characters = 0;
  for (size_t i = 0; i < name.size(); ++i, ++characters) {
    const unsigned char c = static_cast<unsigned char>(name[i]);
    if (IsLeadByte(c)) {
      if (i + 1 >= name.size() || !IsTrailByte(static_cast<unsigned char>(name[i + 1])))
        return NameProblem::kBadEncoding;
      ++i;
      continue;
    }
    if (c < 0x20) return NameProblem::kControlByte;
    if (std::strchr("\\/:*?\"<>|", c) && c != 0) return NameProblem::kReservedCharacter;
  }
  if (characters > kMaxLocalNameCharacters) return NameProblem::kTooLong;
  // The last byte is a single-byte character here: a lead byte cannot end a name.
  if (name.back() == '.' || name.back() == ' ') return NameProblem::kTrailingDotOrBlank;
  if (IsDeviceName(name)) return NameProblem::kDeviceName;
  return NameProblem::kNone;
}

bool HasSubstitutedCharacter(std::string_view name) {
  return FindSingleByte(name, '?') != std::string_view::npos;
}

std::string LowerCaseLocalName(std::string_view name) { return LowerAscii(name); }

void LowerCaseLocalName(std::string_view name, std::string* out) {
  out->assign(name);
  LowerAsciiInPlace(out);
}

}  // namespace qbrk
