#include "dialogs/sync_first_confirmation.h"

#include "platform/win32/own_module.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

INT_PTR CALLBACK SyncFirstProc(HWND dialog, UINT message, WPARAM wparam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      return TRUE;
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

bool ConfirmSynchronizeFirst(HWND owner) {
  return DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(IDD_SYNC_FIRST), owner, SyncFirstProc, 0) ==
         IDOK;
}

}  // namespace qbrk
