#include "platform/win32/own_module.h"

namespace qbrk {

HMODULE OwnModule() {
  HMODULE module = nullptr;
  // UNCHANGED_REFCOUNT: the handle is only looked at, never freed.
  if (!GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCSTR>(&OwnModule), &module))
    return nullptr;
  return module;
}

}  // namespace qbrk
