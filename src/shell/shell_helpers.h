// Shell item identifiers, and the shell functions that are loaded at run time rather than
// linked: SHBindToParent (SHELL32.DLL) and StrRetToBufA (SHLWAPI.DLL), used for the name
// the shell shows for a folder.
#pragma once

#include <windows.h>
// After <windows.h>, which they depend on.
#include <shlobj.h>

#include <string>

namespace qbrk {

// An item identifier list from the shell, freed with the shell's allocator (the COM task
// allocator).
class UniqueIdList {
 public:
  UniqueIdList() = default;
  explicit UniqueIdList(LPITEMIDLIST list) : list_(list) {}
  UniqueIdList(const UniqueIdList&) = delete;
  UniqueIdList& operator=(const UniqueIdList&) = delete;
  ~UniqueIdList() { CoTaskMemFree(list_); }

  LPITEMIDLIST get() const { return list_; }
  explicit operator bool() const { return list_ != nullptr; }
  LPITEMIDLIST* put() {
    CoTaskMemFree(list_);
    list_ = nullptr;
    return &list_;
  }

 private:
  LPITEMIDLIST list_ = nullptr;
};

// Parses a code-page 932 path (converted to UTF-16) with the desktop folder's
// ParseDisplayName. COM must be initialised on the thread. False when the shell does not
// know the path.
bool ParseShellPath(HWND owner, const std::string& path, UniqueIdList* list);

using BindToParentFunction = HRESULT(WINAPI*)(PCIDLIST_ABSOLUTE, REFIID, void**, PCUITEMID_CHILD*);
using StrRetToBufFunction = HRESULT(WINAPI*)(STRRET*, PCUITEMID_CHILD, LPSTR, UINT);

struct ShellHelperFunctions {
  BindToParentFunction bind_to_parent = nullptr;
  StrRetToBufFunction str_ret_to_buf = nullptr;
};

// Where the helpers come from; the defaults are the system's.
struct ShellHelperSource {
  const char* shell_library = "SHELL32.DLL";
  const char* bind_to_parent = "SHBindToParent";
  const char* light_library = "SHLWAPI.DLL";
  const char* str_ret_to_buf = "StrRetToBufA";
};

// Both libraries must report version 5.0 or later through DllGetVersion (the first with
// these functions). Loads the libraries for good. False when either library or function is
// missing or too old.
bool LoadShellHelpers(const ShellHelperSource& source, ShellHelperFunctions* functions);

// The system's helpers, loaded on first use and kept for the process; null when missing.
const ShellHelperFunctions* ShellHelpers();

// The name the shell shows for `folder` in its parent (a localised or renamed folder shows
// that name, not the last part of its path). False when the helpers are missing, the path
// is empty or the shell does not know it.
bool ShellDisplayName(const std::string& folder, std::string* name);

}  // namespace qbrk
