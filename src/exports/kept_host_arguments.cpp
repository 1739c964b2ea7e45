#include "exports/kept_host_arguments.h"

namespace qbrk {

namespace {
void KeepFirst(std::atomic<uintptr_t>& kept, uintptr_t value) {
  if (value == 0) return;
  uintptr_t none = 0;
  kept.compare_exchange_strong(none, value);
}
}  // namespace

void KeptHostArguments::Keep(uintptr_t host_value, uintptr_t owner) {
  KeepFirst(host_value_, host_value);
  KeepFirst(owner_, owner);
}

}  // namespace qbrk
