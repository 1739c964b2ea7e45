// The tray program's hidden window (class "HvqbrkCls"), found by class each time it is needed.
#pragma once

#include <cstdint>

namespace qbrk {

// WM_COMMAND identifiers understood by the host window.
inline constexpr uint32_t IDC_HOST_BUSY = 32779;
inline constexpr uint32_t IDC_HOST_SYNC_STATE = 32780;
inline constexpr uint32_t IDC_HOST_ANIMATION_OFF = 32782;
inline constexpr uint32_t IDC_HOST_ANIMATION_ON = 32783;

class HostWindow {
 public:
  virtual ~HostWindow() = default;
  // SendMessage(WM_COMMAND, id, value); false when no host window exists.
  virtual bool SendCommand(uint32_t id, intptr_t value) = 0;
  // PostMessage(WM_COMMAND, id, value); false when no host window exists.
  virtual bool PostCommand(uint32_t id, intptr_t value) = 0;
};

}  // namespace qbrk
