// The status lines of the progress dialogs, by the index a worker posts.
#pragma once

#include <cstdint>

namespace qbrk {

enum class ProgressKind { kSynchronize, kTransfer };

// The string resource for status `index` (0 connecting, 1 authenticating, 2 collecting,
// 3 transferring; anything else reads as connecting).
uint32_t StatusStringId(ProgressKind kind, uintptr_t index);

}  // namespace qbrk
