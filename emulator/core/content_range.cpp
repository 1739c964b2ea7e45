#include "content_range.h"

namespace qbrk::emulator {

std::optional<uint64_t> ParseDecimal(std::string_view text) {
  if (text.empty() || text.size() > 19) return std::nullopt;  // 19 digits always fit
  uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<uint64_t>(c - '0');
  }
  return value;
}

Checked<PutDeclaration> ParsePutDeclaration(std::optional<std::string_view> content_length,
                                            std::optional<std::string_view> content_range) {
  PutDeclaration declared;
  if (content_length) {
    declared.length = ParseDecimal(*content_length);
    if (!declared.length) return Refusal{400, "bad Content-Length"};
  }
  if (content_range) {
    declared.range = ParseContentRange(*content_range);
    if (!declared.range) return Refusal{400, "bad Content-Range"};
    if (declared.length && *declared.length != declared.range->length()) {
      return Refusal{400, "Content-Length does not match Content-Range"};
    }
  }
  return declared;
}

std::optional<ContentRange> ParseContentRange(std::string_view value) {
  constexpr std::string_view kUnit = "bytes ";
  if (value.substr(0, kUnit.size()) != kUnit) return std::nullopt;
  value.remove_prefix(kUnit.size());
  const size_t dash = value.find('-');
  const size_t slash = value.find('/');
  if (dash == std::string_view::npos || slash == std::string_view::npos || slash < dash) {
    return std::nullopt;
  }
  const auto first = ParseDecimal(value.substr(0, dash));
  const auto last = ParseDecimal(value.substr(dash + 1, slash - dash - 1));
  const auto total = ParseDecimal(value.substr(slash + 1));
  if (!first || !last || !total || *first > *last || *last >= *total) return std::nullopt;
  return ContentRange{*first, *last, *total};
}

}  // namespace qbrk::emulator
