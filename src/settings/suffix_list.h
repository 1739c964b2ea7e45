// The extension test behind the "Suffix" setting: a list of extensions, each in double
// quotes, such as "\"$$$\"\"tmp\"".
#pragma once

#include <string_view>

namespace qbrk {

// True when the text after the last dot of `file_name`, in double quotes, occurs in `list`,
// ignoring ASCII case (double-byte characters are compared whole). A name without a dot
// never matches.
bool SuffixListMatches(std::string_view list, std::string_view file_name);

}  // namespace qbrk
