#include "dav_headers.h"

#include <algorithm>

#include "ascii_case.h"
#include "content_range.h"
#include "faults.h"

namespace qbrk::emulator {

std::optional<int> ParseDepth(std::optional<std::string_view> depth, int fallback) {
  if (!depth) return fallback;
  if (*depth == "0") return 0;
  if (*depth == "1") return 1;
  if (EqualsIgnoringAsciiCase(*depth, "infinity")) return -1;
  return std::nullopt;
}

int64_t GrantedLockSeconds(std::optional<std::string_view> timeout, int64_t max_seconds) {
  if (!timeout) return std::min(kDefaultLockSeconds, max_seconds);
  for (std::string_view choice : SplitWords(*timeout)) {
    if (!choice.empty() && choice.back() == ',') choice.remove_suffix(1);
    if (EqualsIgnoringAsciiCase(choice, "Infinite")) return max_seconds;
    if (choice.size() > 7 && EqualsIgnoringAsciiCase(choice.substr(0, 7), "Second-")) {
      const auto seconds = ParseDecimal(choice.substr(7));
      if (seconds && *seconds > 0) {
        return static_cast<int64_t>(std::min<uint64_t>(*seconds, max_seconds));
      }
    }
  }
  return std::min(kDefaultLockSeconds, max_seconds);
}

std::optional<std::string> ParseLockTokenHeader(std::optional<std::string_view> lock_token) {
  if (!lock_token || lock_token->size() < 3 || lock_token->front() != '<' ||
      lock_token->back() != '>') {
    return std::nullopt;
  }
  return std::string(lock_token->substr(1, lock_token->size() - 2));
}

}  // namespace qbrk::emulator
