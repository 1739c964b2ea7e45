// The command mutex as a named Win32 mutex ("HvqbrkMtx"), shared by every copy of the
// library in the session, and by the host, which may open it by name.
#pragma once

#include <windows.h>

#include "exports/command_mutex.h"
#include "platform/win32/unique_handle.h"

namespace qbrk {

inline constexpr char kCommandMutexName[] = "HvqbrkMtx";

class NamedCommandMutex final : public CommandMutex {
 public:
  // Creates (or opens) the mutex without owning it; on failure the mutex stays absent and
  // every Acquire fails at once.
  bool Create(const char* name);
  void Close() { handle_.reset(); }

  bool Acquire(uint32_t timeout_ms) override;
  void Release() override;

 private:
  UniqueMutex handle_;
};

}  // namespace qbrk
