#include "platform/memory/memory_string_table.h"

namespace qbrk {

MemoryStringTable::MemoryStringTable() {
#define QBRK_STRING(id, text) texts_[id] = text;
#include "strings.inc"
#undef QBRK_STRING
}

std::string MemoryStringTable::Load(uint32_t id) {
  auto it = texts_.find(id);
  return it == texts_.end() ? std::string() : it->second;
}

}  // namespace qbrk
