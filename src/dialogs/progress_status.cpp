#include "dialogs/progress_status.h"

namespace qbrk {

uint32_t StatusStringId(ProgressKind kind, uintptr_t index) {
  const bool transfer = kind == ProgressKind::kTransfer;
  switch (index) {
    case 1:
      return 144;
    case 2:
      return transfer ? 167 : 145;
    case 3:
      return transfer ? 173 : 146;
    default:
      return 143;
  }
}

}  // namespace qbrk
