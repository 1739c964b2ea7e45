// STAND-IN, TO BE DELETED WHEN THE CONFIRMATION DIALOGS ARE MERGED: the real dialog 6005
// implements startup_confirmation.h. This one answers as a user who presses "no" without
// touching the check box, so the start-up check can run on this branch.
#include "dialogs/startup_confirmation.h"

namespace qbrk {

bool RunStartUpConfirmation(HWND, uint32_t*) {
  return false;
}

}  // namespace qbrk
