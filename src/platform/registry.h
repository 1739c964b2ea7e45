// The registry, with the semantics of the advapi32 ANSI calls the library uses.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/sys_error.h"

namespace qbrk {

enum class RegistryRoot { kCurrentUser, kLocalMachine, kClassesRoot };
enum class RegistryAccess { kRead, kWrite };

// Value types (REG_*).
namespace reg_type {
inline constexpr uint32_t kNone = 0;
inline constexpr uint32_t kString = 1;
inline constexpr uint32_t kExpandString = 2;
inline constexpr uint32_t kBinary = 3;
inline constexpr uint32_t kDword = 4;
}  // namespace reg_type

// An open key. Destruction closes it.
class RegistryKey {
 public:
  virtual ~RegistryKey() = default;
  // RegQueryValueExA. `type` and `data` may be null. With `data` null, `*size` receives the
  // value's size. A buffer that is too small gives 234 (more data) and the needed size.
  // A missing value gives 2, a key opened for writing only gives 5. A string (REG_SZ,
  // REG_EXPAND_SZ) stored without its terminator comes back with one, and the size counts it
  // (Wine; Windows may report the size as stored), so readers must not rely on either.
  virtual SysError QueryValue(const std::string& name, uint32_t* type, uint8_t* data,
                              uint32_t* size) = 0;
  // RegSetValueExA: stores exactly `size` bytes of `data` under `type`.
  virtual SysError SetValue(const std::string& name, uint32_t type, const uint8_t* data,
                            uint32_t size) = 0;
  // RegDeleteValueA: 2 when the value is missing.
  virtual SysError DeleteValue(const std::string& name) = 0;
};

class Registry {
 public:
  virtual ~Registry() = default;
  // RegOpenKeyExA: 2 when the key is missing.
  virtual SysError OpenKey(RegistryRoot root, const std::string& path, RegistryAccess access,
                           std::unique_ptr<RegistryKey>* key) = 0;
  // RegCreateKeyA: opens the key for reading and writing, creating it and its parents.
  virtual SysError CreateKey(RegistryRoot root, const std::string& path,
                             std::unique_ptr<RegistryKey>* key) = 0;
};

}  // namespace qbrk
