// Reading one header out of a raw response header block ("HTTP/1.1 200 OK\r\nName: value\r\n...").
#pragma once

#include <string>
#include <string_view>

namespace qbrk {

// Finds the first occurrence of `name` (case-sensitive, without the colon) anywhere in `raw`;
// the value starts one character after the name (past the colon) and runs to the next line
// feed, trimmed of blanks, tabs, CR and LF on both sides. False when the name or the line
// feed after it is missing.
bool FindResponseHeader(std::string_view raw, std::string_view name, std::string* value);

}  // namespace qbrk
