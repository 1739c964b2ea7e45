#include "settings/registry_values.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace qbrk {

namespace {

ValueRead OpenForRead(Registry& registry, RegistryRoot root, const std::string& key,
                      std::unique_ptr<RegistryKey>* opened) {
  if (registry.OpenKey(root, key, RegistryAccess::kRead, opened) != sys_error::kSuccess || !*opened)
    return ValueRead::kNoKey;
  return ValueRead::kOk;
}

// Size and type of a value, without its bytes.
ValueRead QueryShape(RegistryKey& key, const std::string& name, uint32_t* type, uint32_t* size) {
  *type = reg_type::kNone;
  *size = 0;
  const SysError error = key.QueryValue(name, type, nullptr, size);
  if (error == sys_error::kFileNotFound) return ValueRead::kMissing;
  if (error != sys_error::kSuccess) return ValueRead::kBadData;
  return ValueRead::kOk;
}

// Reads the bytes of a value whose size is already known to be at most `size`. A value
// that grew in between, or came back with another type, is treated as damaged.
ValueRead QueryBytes(RegistryKey& key, const std::string& name, uint32_t expected_type,
                     std::vector<uint8_t>* bytes) {
  uint32_t type = reg_type::kNone;
  uint32_t size = static_cast<uint32_t>(bytes->size());
  const SysError error = key.QueryValue(name, &type, bytes->data(), &size);
  if (error == sys_error::kFileNotFound) return ValueRead::kMissing;
  if (error != sys_error::kSuccess || type != expected_type || size > bytes->size())
    return ValueRead::kBadData;
  bytes->resize(size);
  return ValueRead::kOk;
}

bool IsStringType(uint32_t type) {
  return type == reg_type::kString || type == reg_type::kExpandString;
}

}  // namespace

ValueRead ReadDwordValue(Registry& registry, RegistryRoot root, const std::string& key,
                         const std::string& name, uint32_t* value) {
  std::unique_ptr<RegistryKey> opened;
  if (ValueRead state = OpenForRead(registry, root, key, &opened); state != ValueRead::kOk)
    return state;
  uint8_t bytes[4] = {};
  uint32_t type = reg_type::kNone;
  uint32_t size = sizeof(bytes);
  const SysError error = opened->QueryValue(name, &type, bytes, &size);
  if (error == sys_error::kFileNotFound) return ValueRead::kMissing;
  if (error != sys_error::kSuccess || type != reg_type::kDword || size != sizeof(bytes))
    return ValueRead::kBadData;
  *value = uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
           uint32_t{bytes[3]} << 24;
  return ValueRead::kOk;
}

ValueRead ReadStringValue(Registry& registry, RegistryRoot root, const std::string& key,
                          const std::string& name, size_t max_length, std::string* text) {
  std::unique_ptr<RegistryKey> opened;
  if (ValueRead state = OpenForRead(registry, root, key, &opened); state != ValueRead::kOk)
    return state;
  uint32_t type = reg_type::kNone;
  uint32_t size = 0;
  if (ValueRead state = QueryShape(*opened, name, &type, &size); state != ValueRead::kOk)
    return state;
  // One byte beyond the limit is the terminator (or the one some registries add to an
  // unterminated string when they report its size).
  if (!IsStringType(type) || size == 0 || size > max_length + 1) return ValueRead::kBadData;
  std::vector<uint8_t> bytes(size);
  if (ValueRead state = QueryBytes(*opened, name, type, &bytes); state != ValueRead::kOk)
    return state;
  const auto end = std::find(bytes.begin(), bytes.end(), uint8_t{0});
  if (static_cast<size_t>(end - bytes.begin()) > max_length) return ValueRead::kBadData;
  text->assign(bytes.begin(), end);
  return ValueRead::kOk;
}

ValueRead ReadBinaryValue(Registry& registry, RegistryRoot root, const std::string& key,
                          const std::string& name, size_t max_size, std::vector<uint8_t>* data) {
  std::unique_ptr<RegistryKey> opened;
  if (ValueRead state = OpenForRead(registry, root, key, &opened); state != ValueRead::kOk)
    return state;
  uint32_t type = reg_type::kNone;
  uint32_t size = 0;
  if (ValueRead state = QueryShape(*opened, name, &type, &size); state != ValueRead::kOk)
    return state;
  if (type != reg_type::kBinary || size > max_size) return ValueRead::kBadData;
  std::vector<uint8_t> bytes(size);
  if (ValueRead state = QueryBytes(*opened, name, type, &bytes); state != ValueRead::kOk)
    return state;
  *data = std::move(bytes);
  return ValueRead::kOk;
}

bool WriteRegistryValue(Registry& registry, RegistryRoot root, const std::string& key,
                        const std::string& name, uint32_t type, const void* data, size_t size) {
  if (size > UINT32_MAX) return false;
  std::unique_ptr<RegistryKey> opened;
  if (registry.CreateKey(root, key, &opened) != sys_error::kSuccess || !opened) return false;
  return opened->SetValue(name, type, static_cast<const uint8_t*>(data),
                          static_cast<uint32_t>(size)) == sys_error::kSuccess;
}

}  // namespace qbrk
