// A host window that records every WM_COMMAND it is given, or is missing.
#pragma once

#include <vector>

#include "platform/host_window.h"

namespace qbrk {

class RecordingHostWindow final : public HostWindow {
 public:
  struct Command {
    bool sent;  // SendMessage (true) or PostMessage (false)
    uint32_t id;
    intptr_t value;
    bool operator==(const Command&) const = default;
  };

  bool SendCommand(uint32_t id, intptr_t value) override { return Record(true, id, value); }
  bool PostCommand(uint32_t id, intptr_t value) override { return Record(false, id, value); }

  void set_present(bool present) { present_ = present; }
  const std::vector<Command>& commands() const { return commands_; }
  void clear() { commands_.clear(); }

 private:
  bool Record(bool sent, uint32_t id, intptr_t value) {
    if (!present_) return false;
    commands_.push_back({sent, id, value});
    return true;
  }
  bool present_ = true;
  std::vector<Command> commands_;
};

}  // namespace qbrk
