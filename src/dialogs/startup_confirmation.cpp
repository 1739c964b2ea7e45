#include "dialogs/startup_confirmation.h"

#include "platform/win32/own_module.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

INT_PTR CALLBACK StartUpProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* check_boot = reinterpret_cast<uint32_t*>(GetWindowLongPtrA(dialog, DWLP_USER));
  switch (message) {
    case WM_INITDIALOG:
      SetWindowLongPtrA(dialog, DWLP_USER, lparam);
      check_boot = reinterpret_cast<uint32_t*>(lparam);
      SendDlgItemMessageA(dialog, IDC_WARNING_ICON, STM_SETICON,
                          reinterpret_cast<WPARAM>(LoadIconA(nullptr, IDI_WARNING)), 0);
      CheckDlgButton(dialog, IDC_STARTUP_DONT_SHOW,
                     check_boot && *check_boot == 0 ? BST_CHECKED : BST_UNCHECKED);
      // The answer, not the box, takes the focus, so Enter answers yes.
      SendMessageA(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, IDOK)), TRUE);
      return FALSE;
    case WM_COMMAND:
      if (LOWORD(wparam) == IDOK || LOWORD(wparam) == IDCANCEL) {
        // Either answer keeps what the box now says about the next start.
        if (check_boot)
          *check_boot = IsDlgButtonChecked(dialog, IDC_STARTUP_DONT_SHOW) == BST_CHECKED ? 0 : 1;
        EndDialog(dialog, LOWORD(wparam));
        return TRUE;
      }
      break;
  }
  return FALSE;
}

}  // namespace

bool RunStartUpConfirmation(HWND owner, uint32_t* check_boot) {
  return DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(IDD_STARTUP_CONFIRM), owner, StartUpProc,
                         reinterpret_cast<LPARAM>(check_boot)) == IDOK;
}

}  // namespace qbrk
