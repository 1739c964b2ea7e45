// The host value and the owner window that the host hands to the guarded exports. Each is
// kept from the first call that passes a non-zero value and never replaced; the owner window
// then owns the library's boxes and dialogs whenever a caller names no window of its own.
#pragma once

#include <atomic>
#include <cstdint>

namespace qbrk {

class KeptHostArguments {
 public:
  void Keep(uintptr_t host_value, uintptr_t owner);

  uintptr_t host_value() const { return host_value_.load(); }
  uintptr_t owner() const { return owner_.load(); }
  // `given` when it is non-zero, else the kept owner (0: no owner).
  uintptr_t OwnerFor(uintptr_t given) const { return given ? given : owner(); }

 private:
  // Exports run on the host's thread; atomics only make a first keep race-free should a
  // second thread ever call in.
  std::atomic<uintptr_t> host_value_{0};
  std::atomic<uintptr_t> owner_{0};
};

}  // namespace qbrk
