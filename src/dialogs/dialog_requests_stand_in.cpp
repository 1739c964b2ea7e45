// Stands in for the options and sign-in dialogs until they land: every request is answered
// as a cancel, so a job that asks for them stops.
#include "dialogs/dialog_requests.h"

namespace qbrk {

uint32_t RunOptionsDialog(HWND, OptionsRecord*) {
  return 0;
}

uint32_t RunSignInDialog(HWND, SignInRecord*) {
  return 0;
}

}  // namespace qbrk
