// The registry through the advapi32 ANSI calls.
#pragma once

#include "platform/registry.h"

namespace qbrk {

class Win32Registry final : public Registry {
 public:
  // RegOpenKeyExA with KEY_READ or KEY_WRITE.
  SysError OpenKey(RegistryRoot root, const std::string& path, RegistryAccess access,
                   std::unique_ptr<RegistryKey>* key) override;
  // RegCreateKeyA.
  SysError CreateKey(RegistryRoot root, const std::string& path,
                     std::unique_ptr<RegistryKey>* key) override;
};

}  // namespace qbrk
