#include "support/user_state.h"

// After <windows.h>, which it depends on.
#include <shlobj.h>

namespace qbrk::test {

namespace {

bool SetValue(const char* name, DWORD type, const void* data, DWORD size) {
  HKEY key = nullptr;
  if (RegCreateKeyA(HKEY_CURRENT_USER, kSettingsKeyPath, &key) != ERROR_SUCCESS) return false;
  const LONG written = RegSetValueExA(key, name, 0, type, static_cast<const BYTE*>(data), size);
  RegCloseKey(key);
  return written == ERROR_SUCCESS;
}

}  // namespace

void ClearUserState() {
  RegDeleteTreeA(HKEY_CURRENT_USER, kSettingsKeyPath);
  RemoveFolder(DefaultMirror());
  // A save leaves the table read-only, hidden and system.
  SetFileAttributesA(TableFile().c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileA(TableFile().c_str());
}

std::string TableFile() {
  char path[MAX_PATH] = {};
  SHGetFolderPathA(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path);
  return std::string(path) + "\\Halvorn\\Quellanbrook\\1.0\\.Qbrook.dir";
}

std::string Documents() {
  char path[MAX_PATH] = {};
  SHGetFolderPathA(nullptr, CSIDL_PERSONAL | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path);
  return path;
}

std::string StoredMirror() {
  char value[1024] = {};
  DWORD size = sizeof value;
  if (RegGetValueA(HKEY_CURRENT_USER, kSettingsKeyPath, "Mirror", RRF_RT_REG_SZ, nullptr, value,
                   &size) != ERROR_SUCCESS)
    return "<none>";
  return value;
}

bool SetSettingDword(const char* name, DWORD value) {
  return SetValue(name, REG_DWORD, &value, sizeof value);
}

bool SetSettingString(const char* name, const std::string& value) {
  return SetValue(name, REG_SZ, value.c_str(), static_cast<DWORD>(value.size() + 1));
}

void RemoveFolder(const std::string& path) {
  SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  RemoveDirectoryA(path.c_str());
}

bool Exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace qbrk::test
