// The named mutex that lets one command of the library run at a time, across threads and
// processes.
#pragma once

#include <cstdint>

namespace qbrk {

class CommandMutex {
 public:
  virtual ~CommandMutex() = default;
  // Waits at most `timeout_ms`; false on time-out, and at once when there is no mutex.
  virtual bool Acquire(uint32_t timeout_ms) = 0;
  // Gives up a mutex that Acquire got.
  virtual void Release() = 0;
};

}  // namespace qbrk
