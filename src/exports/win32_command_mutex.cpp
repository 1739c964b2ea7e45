#include "exports/win32_command_mutex.h"

namespace qbrk {

bool NamedCommandMutex::Create(const char* name) {
  handle_.reset(CreateMutexA(nullptr, FALSE, name));
  return static_cast<bool>(handle_);
}

bool NamedCommandMutex::Acquire(uint32_t timeout_ms) {
  if (!handle_) return false;
  const DWORD waited = WaitForSingleObject(handle_.get(), timeout_ms);
  // Abandoned: a process ended inside a command. The mutex is ours now, and the command it
  // guarded is over, so this one may run.
  return waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
}

void NamedCommandMutex::Release() {
  if (handle_) ReleaseMutex(handle_.get());
}

}  // namespace qbrk
