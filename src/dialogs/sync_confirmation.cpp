#include "dialogs/sync_confirmation.h"
#include "dialogs/sync_first_confirmation.h"

#include "platform/win32/own_module.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

// Both questions are a yes and a no button over fixed texts.
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

bool ConfirmSynchronizeFirst(HWND owner) {
  return DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(IDD_SYNC_FIRST), owner, ConfirmationProc,
                         0) == IDOK;
}

}  // namespace qbrk
