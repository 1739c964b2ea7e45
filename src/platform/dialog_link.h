// How a worker thread talks to the dialog that started it: it posts a message in the range
// WM_USER + 50 .. WM_USER + 78 to the dialog's window and waits until the dialog's handler
// has set the reply event. Questions carry the address of a 32-bit answer word.
#pragma once

#include <cstdint>

namespace qbrk {

inline constexpr uint32_t kWmUser = 0x400;

class DialogLink {
 public:
  virtual ~DialogLink() = default;
  // True while the dialog is open and has not cancelled the job (tested under the job lock).
  virtual bool IsAttached() = 0;
  // Posts `message` and waits without limit for the dialog's reply. Does nothing when the
  // dialog is no longer attached.
  virtual void PostAndWait(uint32_t message, uintptr_t wparam, intptr_t lparam) = 0;
};

}  // namespace qbrk
