#include "platform/win32/win32_registry.h"

#include <windows.h>

#include "platform/win32/unique_handle.h"

namespace qbrk {

namespace {

HKEY RootKey(RegistryRoot root) {
  switch (root) {
    case RegistryRoot::kLocalMachine:
      return HKEY_LOCAL_MACHINE;
    case RegistryRoot::kClassesRoot:
      return HKEY_CLASSES_ROOT;
    case RegistryRoot::kCurrentUser:
      break;
  }
  return HKEY_CURRENT_USER;
}

// The advapi32 calls return their error instead of setting the thread's last error.
class Win32Key final : public RegistryKey {
 public:
  explicit Win32Key(UniqueKey key) : key_(std::move(key)) {}

  SysError QueryValue(const std::string& name, uint32_t* type, uint8_t* data,
                      uint32_t* size) override {
    DWORD raw_type = 0;
    DWORD raw_size = size ? *size : 0;
    const LONG error = RegQueryValueExA(key_.get(), name.c_str(), nullptr, &raw_type, data,
                                        size ? &raw_size : nullptr);
    // The needed size is reported with 234 as well as with success.
    if (error == ERROR_SUCCESS || error == ERROR_MORE_DATA) {
      if (type) *type = raw_type;
      if (size) *size = raw_size;
    }
    return static_cast<SysError>(error);
  }

  SysError SetValue(const std::string& name, uint32_t type, const uint8_t* data,
                    uint32_t size) override {
    return static_cast<SysError>(
        RegSetValueExA(key_.get(), name.c_str(), 0, type, data, data ? size : 0));
  }

  SysError DeleteValue(const std::string& name) override {
    return static_cast<SysError>(RegDeleteValueA(key_.get(), name.c_str()));
  }

 private:
  UniqueKey key_;
};

}  // namespace

SysError Win32Registry::OpenKey(RegistryRoot root, const std::string& path, RegistryAccess access,
                                std::unique_ptr<RegistryKey>* key) {
  HKEY raw = nullptr;
  const REGSAM sam = access == RegistryAccess::kWrite ? KEY_WRITE : KEY_READ;
  const LONG error = RegOpenKeyExA(RootKey(root), path.c_str(), 0, sam, &raw);
  // The out parameter is only trusted on success.
  if (error != ERROR_SUCCESS) return static_cast<SysError>(error);
  *key = std::make_unique<Win32Key>(UniqueKey(raw));
  return sys_error::kSuccess;
}

SysError Win32Registry::CreateKey(RegistryRoot root, const std::string& path,
                                  std::unique_ptr<RegistryKey>* key) {
  HKEY raw = nullptr;
  const LONG error = RegCreateKeyA(RootKey(root), path.c_str(), &raw);
  if (error != ERROR_SUCCESS) return static_cast<SysError>(error);
  *key = std::make_unique<Win32Key>(UniqueKey(raw));
  return sys_error::kSuccess;
}

}  // namespace qbrk
