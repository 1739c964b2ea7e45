// A registry that forwards to another and records how keys were opened, so tests can tell
// readers (read access) from writers (created keys). It can also answer string queries the
// way some registries do for unterminated strings: one byte more, with a terminator added.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace qbrk::testing {

class RecordingRegistry final : public Registry {
 public:
  struct Opening {
    bool created;  // CreateKey (true) or OpenKey (false)
    RegistryAccess access;
    std::string path;
  };

  explicit RecordingRegistry(Registry& inner) : inner_(inner) {}

  SysError OpenKey(RegistryRoot root, const std::string& path, RegistryAccess access,
                   std::unique_ptr<RegistryKey>* key) override {
    openings_.push_back({false, access, path});
    return Wrap(inner_.OpenKey(root, path, access, key), key);
  }
  SysError CreateKey(RegistryRoot root, const std::string& path,
                     std::unique_ptr<RegistryKey>* key) override {
    openings_.push_back({true, RegistryAccess::kWrite, path});
    return Wrap(inner_.CreateKey(root, path, key), key);
  }

  const std::vector<Opening>& openings() const { return openings_; }
  void clear() { openings_.clear(); }
  void set_terminate_strings(bool on) { terminate_strings_ = on; }

 private:
  class TerminatingKey final : public RegistryKey {
   public:
    explicit TerminatingKey(std::unique_ptr<RegistryKey> inner) : inner_(std::move(inner)) {}
    SysError QueryValue(const std::string& name, uint32_t* type, uint8_t* data,
                        uint32_t* size) override {
      uint32_t stored_type = 0;
      uint32_t stored_size = 0;
      SysError error = inner_->QueryValue(name, &stored_type, nullptr, &stored_size);
      if (error || stored_type != reg_type::kString)
        return inner_->QueryValue(name, type, data, size);
      std::vector<uint8_t> bytes(stored_size);
      inner_->QueryValue(name, nullptr, bytes.data(), &stored_size);
      if (bytes.empty() || bytes.back() != 0) bytes.push_back(0);
      if (type) *type = stored_type;
      const uint32_t needed = static_cast<uint32_t>(bytes.size());
      if (data) {
        if (*size < needed) {
          *size = needed;
          return sys_error::kMoreData;
        }
        std::memcpy(data, bytes.data(), needed);
      }
      if (size) *size = needed;
      return sys_error::kSuccess;
    }
    SysError SetValue(const std::string& name, uint32_t type, const uint8_t* data,
                      uint32_t size) override {
      return inner_->SetValue(name, type, data, size);
    }
    SysError DeleteValue(const std::string& name) override { return inner_->DeleteValue(name); }

   private:
    std::unique_ptr<RegistryKey> inner_;
  };

  SysError Wrap(SysError error, std::unique_ptr<RegistryKey>* key) {
    if (!error && terminate_strings_) *key = std::make_unique<TerminatingKey>(std::move(*key));
    return error;
  }

  Registry& inner_;
  std::vector<Opening> openings_;
  bool terminate_strings_ = false;
};

}  // namespace qbrk::testing
