#include "platform/memory/memory_registry.h"

#include <cstring>

#include "common/mbcs.h"

namespace qbrk {

class MemoryRegistry::OpenedKey final : public RegistryKey {
 public:
  OpenedKey(std::shared_ptr<Key> key, bool readable, bool writable)
      : key_(std::move(key)), readable_(readable), writable_(writable) {}

  SysError QueryValue(const std::string& name, uint32_t* type, uint8_t* data,
                      uint32_t* size) override {
    if (!readable_) return sys_error::kAccessDenied;
    if (data && !size) return sys_error::kInvalidParameter;
    auto it = key_->values.find(LowerAscii(name));
    if (it == key_->values.end()) return sys_error::kFileNotFound;
    const Value& value = it->second;
    if (type) *type = value.type;
    const uint32_t stored = static_cast<uint32_t>(value.data.size());
    // A string stored without its terminator comes back with one, counted in the size (what
    // Wine does; Windows may report the stored size).
    const bool terminate = (value.type == reg_type::kString ||
                            value.type == reg_type::kExpandString) &&
                           stored > 0 && value.data.back() != 0;
    const uint32_t needed = stored + (terminate ? 1 : 0);
    if (data) {
      if (*size < needed) {
        *size = needed;
        return sys_error::kMoreData;
      }
      if (stored) std::memcpy(data, value.data.data(), stored);
      if (terminate) data[stored] = 0;
    }
    if (size) *size = needed;
    return sys_error::kSuccess;
  }

  SysError SetValue(const std::string& name, uint32_t type, const uint8_t* data,
                    uint32_t size) override {
    if (!writable_) return sys_error::kAccessDenied;
    const std::string folded = LowerAscii(name);
    key_->names[folded] = name;
    Value& value = key_->values[folded];
    value.type = type;
    value.data.assign(data, data + (data ? size : 0));
    return sys_error::kSuccess;
  }

  SysError DeleteValue(const std::string& name) override {
    if (!writable_) return sys_error::kAccessDenied;
    const std::string folded = LowerAscii(name);
    if (key_->values.erase(folded) == 0) return sys_error::kFileNotFound;
    key_->names.erase(folded);
    return sys_error::kSuccess;
  }

 private:
  std::shared_ptr<Key> key_;
  bool readable_;
  bool writable_;
};

MemoryRegistry::MemoryRegistry() = default;
MemoryRegistry::~MemoryRegistry() = default;

MemoryRegistry::KeyId MemoryRegistry::Id(RegistryRoot root, const std::string& path) {
  std::string folded = LowerAscii(path);
  while (EndsWithSingleByte(folded, '\\')) folded.pop_back();
  return {static_cast<int>(root), folded};
}

std::shared_ptr<MemoryRegistry::Key> MemoryRegistry::Lookup(const KeyId& id) const {
  auto it = keys_.find(id);
  return it == keys_.end() ? nullptr : it->second;
}

SysError MemoryRegistry::OpenKey(RegistryRoot root, const std::string& path,
                                 RegistryAccess access, std::unique_ptr<RegistryKey>* key) {
  if (!path.empty() && path.front() == '\\') return sys_error::kBadPathname;
  const KeyId id = Id(root, path);
  if (auto failure = failures_.find(id); failure != failures_.end()) return failure->second;
  auto found = Lookup(id);
  if (!found) return sys_error::kFileNotFound;
  // KEY_READ cannot write and KEY_WRITE cannot read.
  const bool writes = access == RegistryAccess::kWrite;
  *key = std::make_unique<OpenedKey>(found, !writes, writes);
  return sys_error::kSuccess;
}

SysError MemoryRegistry::CreateKey(RegistryRoot root, const std::string& path,
                                   std::unique_ptr<RegistryKey>* key) {
  if (!path.empty() && path.front() == '\\') return sys_error::kBadPathname;
  const KeyId id = Id(root, path);
  if (auto failure = failures_.find(id); failure != failures_.end()) return failure->second;
  // Create every ancestor, as RegCreateKeyA does.
  std::string prefix;
  for (size_t start = 0; start <= id.second.size();) {
    size_t end = FindSingleByte(id.second, '\\', start);
    if (end == std::string::npos) end = id.second.size();
    prefix = id.second.substr(0, end);
    if (!prefix.empty() && !Lookup({id.first, prefix}))
      keys_[{id.first, prefix}] = std::make_shared<Key>();
    start = end + 1;
  }
  if (!Lookup(id)) keys_[id] = std::make_shared<Key>();
  *key = std::make_unique<OpenedKey>(Lookup(id), true, true);
  return sys_error::kSuccess;
}

bool MemoryRegistry::KeyExists(RegistryRoot root, const std::string& path) const {
  return Lookup(Id(root, path)) != nullptr;
}

const MemoryRegistry::Value* MemoryRegistry::Find(RegistryRoot root, const std::string& path,
                                                  const std::string& name) const {
  auto key = Lookup(Id(root, path));
  if (!key) return nullptr;
  auto it = key->values.find(LowerAscii(name));
  return it == key->values.end() ? nullptr : &it->second;
}

void MemoryRegistry::Put(RegistryRoot root, const std::string& path, const std::string& name,
                         uint32_t type, std::vector<uint8_t> data) {
  std::unique_ptr<RegistryKey> key;
  SysError saved = 0;
  const KeyId id = Id(root, path);
  if (auto failure = failures_.find(id); failure != failures_.end()) {
    saved = failure->second;
    failures_.erase(failure);
  }
  CreateKey(root, path, &key);
  key->SetValue(name, type, data.data(), static_cast<uint32_t>(data.size()));
  if (saved) failures_[id] = saved;
}

void MemoryRegistry::PutString(RegistryRoot root, const std::string& path,
                               const std::string& name, const std::string& text) {
  std::vector<uint8_t> bytes(text.begin(), text.end());
  bytes.push_back(0);
  Put(root, path, name, reg_type::kString, std::move(bytes));
}

void MemoryRegistry::PutDword(RegistryRoot root, const std::string& path,
                              const std::string& name, uint32_t value) {
  std::vector<uint8_t> bytes(4);
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
  Put(root, path, name, reg_type::kDword, std::move(bytes));
}

void MemoryRegistry::FailKey(RegistryRoot root, const std::string& path, SysError error) {
  if (error)
    failures_[Id(root, path)] = error;
  else
    failures_.erase(Id(root, path));
}

}  // namespace qbrk
