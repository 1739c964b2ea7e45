#include "protocol/response_header.h"

namespace qbrk {

namespace {
bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
}  // namespace

bool FindResponseHeader(std::string_view raw, std::string_view name, std::string* value) {
  if (name.empty()) return false;
  const size_t at = raw.find(name);
  if (at == std::string_view::npos) return false;
  const size_t begin = at + name.size() + 1;
  if (begin > raw.size()) return false;
  const size_t line_feed = raw.find('\n', begin);
  if (line_feed == std::string_view::npos) return false;
  std::string_view text = raw.substr(begin, line_feed - begin);
  while (!text.empty() && IsBlank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back()))
    text.remove_suffix(1);
  value->assign(text);
  return true;
}

}  // namespace qbrk
