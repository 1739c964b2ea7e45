#include "settings/suffix_list.h"

#include <string>

#include "common/mbcs.h"

namespace qbrk {

bool SuffixListMatches(std::string_view list, std::string_view file_name) {
  const size_t dot = FindLastSingleByte(file_name, '.');
  if (dot == std::string_view::npos) return false;
  std::string needle = "\"";
  needle.append(file_name.substr(dot + 1));
  needle += '"';
  // The needle starts with a quote, which is never a trail byte, so a plain search cannot
  // match in the middle of a double-byte character.
  return LowerAscii(list).find(LowerAscii(needle)) != std::string::npos;
}

}  // namespace qbrk
