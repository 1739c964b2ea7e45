#include "dll_fixture.h"

// After <windows.h>, which it depends on.
#include <shlobj.h>

#include <vector>

namespace qbrk::test {

namespace {

std::string ProgramFolder() {
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string folder(path);
  return folder.substr(0, folder.find_last_of('\\') + 1);
}

}  // namespace

void DllTest::SetUp() {
  ClearUserState();
  library_ = LoadLibraryA((ProgramFolder() + "HVqbrkCn.dll").c_str());
  ASSERT_NE(library_, nullptr) << "error " << GetLastError();
}

void DllTest::TearDown() {
  if (library_) FreeLibrary(library_);
  ClearUserState();
}

void DllTest::ClearUserState() {
  RegDeleteTreeA(HKEY_CURRENT_USER, kSettingsKeyPath);
  RemoveFolder(DefaultMirror());
}

std::string DllTest::Documents() {
  char path[MAX_PATH] = {};
  SHGetFolderPathA(nullptr, CSIDL_PERSONAL | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path);
  return path;
}

std::string DllTest::StoredMirror() {
  char value[1024] = {};
  DWORD size = sizeof value;
  if (RegGetValueA(HKEY_CURRENT_USER, kSettingsKeyPath, "Mirror", RRF_RT_REG_SZ, nullptr, value,
                   &size) != ERROR_SUCCESS)
    return "<none>";
  return value;
}

void DllTest::SetDword(const char* name, DWORD value) {
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, kSettingsKeyPath, &key), ERROR_SUCCESS);
  RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
  RegCloseKey(key);
}

void DllTest::SetString(const char* name, const std::string& value) {
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, kSettingsKeyPath, &key), ERROR_SUCCESS);
  RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                 static_cast<DWORD>(value.size() + 1));
  RegCloseKey(key);
}

void DllTest::RemoveFolder(const std::string& path) {
  SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  RemoveDirectoryA(path.c_str());
}

bool DllTest::Exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace qbrk::test
