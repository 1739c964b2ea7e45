// The string table compiled from the same source as the resource script, for native runs.
#pragma once

#include <map>

#include "platform/string_table.h"

namespace qbrk {

class MemoryStringTable final : public StringTable {
 public:
  // Filled with every entry of resources/strings.inc.
  MemoryStringTable();
  std::string Load(uint32_t id) override;

 private:
  std::map<uint32_t, std::string> texts_;
};

}  // namespace qbrk
