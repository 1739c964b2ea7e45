// An in-memory registry with the semantics of the advapi32 ANSI calls: key and value names
// ignore ASCII case, values keep exactly the bytes written, missing things give 2.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace qbrk {

class MemoryRegistry final : public Registry {
 public:
  struct Value {
    uint32_t type = 0;
    std::vector<uint8_t> data;
  };

  MemoryRegistry();
  ~MemoryRegistry() override;

  SysError OpenKey(RegistryRoot root, const std::string& path, RegistryAccess access,
                   std::unique_ptr<RegistryKey>* key) override;
  SysError CreateKey(RegistryRoot root, const std::string& path,
                     std::unique_ptr<RegistryKey>* key) override;

  // Test helpers, outside the Win32 contract.
  bool KeyExists(RegistryRoot root, const std::string& path) const;
  const Value* Find(RegistryRoot root, const std::string& path, const std::string& name) const;
  void Put(RegistryRoot root, const std::string& path, const std::string& name, uint32_t type,
           std::vector<uint8_t> data);
  void PutString(RegistryRoot root, const std::string& path, const std::string& name,
                 const std::string& text);  // stored with its terminator
  void PutDword(RegistryRoot root, const std::string& path, const std::string& name,
                uint32_t value);
  // Makes every later OpenKey/CreateKey of this key fail with `error` (0 to stop).
  void FailKey(RegistryRoot root, const std::string& path, SysError error);

 private:
  struct Key {
    std::map<std::string, std::string> names;  // folded name -> name as written
    std::map<std::string, Value> values;       // folded name -> value
  };
  class OpenedKey;
  using KeyId = std::pair<int, std::string>;  // root, folded path

  static KeyId Id(RegistryRoot root, const std::string& path);
  std::shared_ptr<Key> Lookup(const KeyId& id) const;

  std::map<KeyId, std::shared_ptr<Key>> keys_;
  std::map<KeyId, SysError> failures_;
};

}  // namespace qbrk
