// The string table of the library's own module (OwnModule), read with LoadStringA: the
// resources are stored as UTF-16 and come back in the process's ANSI code page (932).
#pragma once

#include "platform/string_table.h"

namespace qbrk {

class Win32StringTable final : public StringTable {
 public:
  std::string Load(uint32_t id) override;
};

}  // namespace qbrk
