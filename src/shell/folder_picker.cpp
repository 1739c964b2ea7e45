#include "shell/folder_picker.h"

// After <windows.h>, which they depend on.
#include <shlobj.h>

#include <string_view>

#include "common/mbcs.h"
#include "platform/win32/com_ptr.h"
#include "settings/folders.h"
#include "shell/shell_helpers.h"

namespace qbrk {

namespace {

// Initial selection, set once the browser's window exists.
int CALLBACK SelectInitial(HWND window, UINT message, LPARAM, LPARAM data) {
  if (message == BFFM_INITIALIZED && data) SendMessageA(window, BFFM_SETSELECTIONA, TRUE, data);
  return 0;
}

// `path` is `folder` or lies below it (names compare as the file system does).
bool IsSameOrInside(const std::string& path, const std::string& folder) {
  if (path.size() < folder.size() ||
      !EqualsIgnoringAsciiCase(std::string_view(path).substr(0, folder.size()), folder))
    return false;
  return path.size() == folder.size() || EndsWithSingleByte(folder, '\\') ||
         path[folder.size()] == '\\';
}

}  // namespace

bool BrowseForFolder(HWND owner, const std::string& prompt, const std::string& root,
                     const std::string& initial, std::string* chosen) {
  ComScope com;
  if (!com.usable()) return false;
  UniqueIdList root_list;
  if (!root.empty() && !ParseShellPath(owner, root, &root_list)) return false;

  char display_name[MAX_PATH] = {};
  BROWSEINFOA info = {};
  info.hwndOwner = owner;
  info.pidlRoot = root_list.get();
  info.pszDisplayName = display_name;
  info.lpszTitle = prompt.c_str();
  info.ulFlags = BIF_RETURNONLYFSDIRS;
  if (!initial.empty()) {
    info.lpfn = SelectInitial;
    info.lParam = reinterpret_cast<LPARAM>(initial.c_str());
  }
  const UniqueIdList picked(SHBrowseForFolderA(&info));
  if (!picked) return false;
  char path[MAX_PATH] = {};
  if (!SHGetPathFromIDListA(picked.get(), path) || path[0] == '\0') return false;
  // Without a selection some shells answer OK with a folder outside the root (Wine: the
  // desktop); that is never what the user was offered.
  if (!root.empty() && !IsSameOrInside(path, root)) return false;
  *chosen = path;
  return true;
}

bool PickFolderInMirror(Env& env, HWND owner, const std::string& prompt, std::string* chosen) {
  std::string mirror;
  if (!ResolveMirrorFolder(env, /*interactive=*/false, nullptr, &mirror)) return false;
  return BrowseForFolder(owner, prompt, mirror, mirror, chosen);
}

}  // namespace qbrk
