// The small HTML index of a folder that a browser gets, on a disk or on a public page.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qbrk::emulator {

struct FolderPageEntry {
  std::string name;  // raw bytes
  bool folder = false;
  std::optional<uint64_t> size;  // files only
  int64_t modified = 0;          // seconds since 1970
};

// A Shift_JIS page: the title, the publisher line when there is one, a link to the parent
// folder when asked, and the entries in the order given.
std::string FolderPageHtml(std::string_view title, std::string_view publisher, bool parent_link,
                           const std::vector<FolderPageEntry>& entries);

}  // namespace qbrk::emulator
