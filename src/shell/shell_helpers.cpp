#include "shell/shell_helpers.h"

// After <windows.h>, which it depends on.
#include <shlwapi.h>

#include <string>

#include "platform/win32/com_ptr.h"

namespace qbrk {

namespace {

// SHBindToParent came with shell 5.0, StrRetToBufA with the light-weight utilities 5.0.
constexpr DWORD kLeastMajorVersion = 5;

template <typename Function>
Function ProcAs(HMODULE module, const char* name) {
  // GetProcAddress hands back a generic function pointer; the named function has this type.
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

bool RecentEnough(HMODULE module) {
  const auto get_version = ProcAs<DLLGETVERSIONPROC>(module, "DllGetVersion");
  if (!get_version) return false;
  DLLVERSIONINFO version = {};
  version.cbSize = sizeof version;
  return SUCCEEDED(get_version(&version)) && version.dwMajorVersion >= kLeastMajorVersion;
}

// The library stays loaded for the process's life: the functions are cached process-wide.
HMODULE LoadChecked(const char* name) {
  HMODULE module = LoadLibraryA(name);
  if (!module) return nullptr;
  if (!RecentEnough(module)) {
    FreeLibrary(module);
    return nullptr;
  }
  return module;
}

}  // namespace

bool ParseShellPath(HWND owner, const std::string& path, UniqueIdList* list) {
  wchar_t wide[MAX_PATH + 1] = {};
  if (path.empty() ||
      MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, path.c_str(), -1, wide, MAX_PATH + 1) == 0)
    return false;
  ComPtr<IShellFolder> desktop;
  if (FAILED(SHGetDesktopFolder(reinterpret_cast<IShellFolder**>(desktop.put_void()))))
    return false;
  return SUCCEEDED(
             desktop->ParseDisplayName(owner, nullptr, wide, nullptr, list->put(), nullptr)) &&
         *list;
}

bool LoadShellHelpers(const ShellHelperSource& source, ShellHelperFunctions* functions) {
  HMODULE shell = LoadChecked(source.shell_library);
  HMODULE light = shell ? LoadChecked(source.light_library) : nullptr;
  ShellHelperFunctions loaded;
  if (light) {
    loaded.bind_to_parent = ProcAs<BindToParentFunction>(shell, source.bind_to_parent);
    loaded.str_ret_to_buf = ProcAs<StrRetToBufFunction>(light, source.str_ret_to_buf);
  }
  if (!loaded.bind_to_parent || !loaded.str_ret_to_buf) {
    if (light) FreeLibrary(light);
    if (shell) FreeLibrary(shell);
    return false;
  }
  *functions = loaded;
  return true;
}

const ShellHelperFunctions* ShellHelpers() {
  static const ShellHelperFunctions* const helpers = [] {
    static ShellHelperFunctions loaded;
    return LoadShellHelpers(ShellHelperSource(), &loaded) ? &loaded : nullptr;
  }();
  return helpers;
}

bool ShellDisplayName(const std::string& folder, std::string* name) {
  const ShellHelperFunctions* helpers = ShellHelpers();
  if (!helpers) return false;
  ComScope com;
  if (!com.usable()) return false;
  UniqueIdList list;
  if (!ParseShellPath(nullptr, folder, &list)) return false;
  ComPtr<IShellFolder> parent;
  PCUITEMID_CHILD child = nullptr;
  if (FAILED(helpers->bind_to_parent(list.get(), IID_IShellFolder, parent.put_void(), &child)))
    return false;
  STRRET shown = {};
  if (FAILED(parent->GetDisplayNameOf(child, SHGDN_NORMAL, &shown))) return false;
  // StrRetToBufA frees the string the shell may have allocated in `shown`.
  char buffer[MAX_PATH] = {};
  if (FAILED(helpers->str_ret_to_buf(&shown, child, buffer, MAX_PATH)) || buffer[0] == '\0')
    return false;
  *name = buffer;
  return true;
}

}  // namespace qbrk
