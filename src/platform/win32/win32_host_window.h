// The tray program's hidden window, looked up by class ("HvqbrkCls") on every call: the
// host may create or recreate it at any time.
#pragma once

#include "platform/host_window.h"

namespace qbrk {

class Win32HostWindow final : public HostWindow {
 public:
  bool SendCommand(uint32_t id, intptr_t value) override;
  bool PostCommand(uint32_t id, intptr_t value) override;
};

}  // namespace qbrk
