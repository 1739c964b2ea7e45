#include "platform/win32/win32_string_table.h"

#include <windows.h>

#include <vector>

#include "platform/win32/own_module.h"

namespace qbrk {

std::string Win32StringTable::Load(uint32_t id) {
  HMODULE module = OwnModule();
  if (!module) return std::string();
  // LoadStringA cuts a text that does not fit; a result that fills the buffer may have been
  // cut, so try again with more room. A string resource holds at most 65535 characters.
  for (int size = 1024; size <= 262144; size *= 4) {
    std::vector<char> buffer(size);
    const int length = LoadStringA(module, id, buffer.data(), size);
    if (length <= 0) return std::string();
    if (length < size - 2) return std::string(buffer.data(), length);
  }
  return std::string();
}

}  // namespace qbrk
