#include "platform/memory/scripted_dial_up.h"

#include <algorithm>
#include <map>

namespace qbrk {

class ScriptedDialUp::Loaded final : public DialUp {
 public:
  explicit Loaded(ScriptedDialUp& owner) : owner_(owner) {}

  SysError Enumerate(std::vector<DialUpEntry>* entries) override {
    if (owner_.enumerate_error_) return owner_.enumerate_error_;
    *entries = owner_.connections_;
    return 0;
  }

  SysError HangUp(uintptr_t handle) override {
    owner_.hung_up_.push_back(handle);
    polls_left_[handle] = owner_.polls_until_gone_;
    return 0;
  }

  SysError ConnectStatus(uintptr_t handle) override {
    ++owner_.status_polls_;
    auto& connections = owner_.connections_;
    auto it = std::find_if(connections.begin(), connections.end(),
                           [&](const DialUpEntry& e) { return e.handle == handle; });
    if (it == connections.end()) return sys_error::kInvalidHandle;
    auto left = polls_left_.find(handle);
    if (left != polls_left_.end()) {
      if (left->second == 0) {
        connections.erase(it);
        return sys_error::kInvalidHandle;
      }
      --left->second;
    }
    return 0;
  }

 private:
  ScriptedDialUp& owner_;
  std::map<uintptr_t, size_t> polls_left_;
};

std::unique_ptr<DialUp> ScriptedDialUp::Load() {
  if (!present_) return nullptr;
  ++loads_;
  return std::make_unique<Loaded>(*this);
}

}  // namespace qbrk
