#include "dialogs/sync_confirmation.h"

#include "platform/win32/own_module.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

INT_PTR CALLBACK ConfirmationProc(HWND dialog, UINT message, WPARAM wparam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      return TRUE;  // the template's default button, yes, takes the focus
    case WM_COMMAND:
      if (LOWORD(wparam) == IDOK || LOWORD(wparam) == IDCANCEL) {
        EndDialog(dialog, LOWORD(wparam));
        return TRUE;
      }
      break;
  }
  return FALSE;
}

}  // namespace

bool ConfirmSynchronize(HWND owner) {
  return DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(IDD_SYNC_CONFIRM), owner, ConfirmationProc,
                         0) == IDOK;
}

}  // namespace qbrk
