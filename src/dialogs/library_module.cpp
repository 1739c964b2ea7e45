#include "dialogs/library_module.h"

namespace qbrk {

HINSTANCE LibraryModule() {
  HMODULE module = nullptr;
  // The address of this function lies in the module that contains the library's code.
  if (!GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCSTR>(&LibraryModule), &module)) {
    return nullptr;
  }
  return module;
}

}  // namespace qbrk
