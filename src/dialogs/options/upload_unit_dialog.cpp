#include "dialogs/options/upload_unit_dialog.h"

#include "dialogs/options/option_rules.h"
#include "platform/win32/own_module.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

INT_PTR Initialise(HWND dialog, uint32_t unit) {
  HWND list = GetDlgItem(dialog, IDC_PUT_UNIT_LIST);
  for (const UploadUnitChoice& choice : kUploadUnitChoices)
    SendMessageA(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(choice.text));
  SendMessageA(list, CB_SETCURSEL, static_cast<WPARAM>(UploadUnitIndex(unit)), 0);
  return TRUE;
}

INT_PTR CALLBACK UploadUnitProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  try {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrA(dialog, DWLP_USER, lparam);
      return Initialise(dialog, *reinterpret_cast<uint32_t*>(lparam));
    }
    auto* unit = reinterpret_cast<uint32_t*>(GetWindowLongPtrA(dialog, DWLP_USER));
    if (!unit || message != WM_COMMAND || HIWORD(wparam) != BN_CLICKED) return FALSE;
    switch (LOWORD(wparam)) {
      case IDOK: {
        const LRESULT selected = SendDlgItemMessageA(dialog, IDC_PUT_UNIT_LIST, CB_GETCURSEL, 0, 0);
        *unit = UploadUnitAt(static_cast<int>(selected));
        EndDialog(dialog, IDOK);
        return TRUE;
      }
      case IDCANCEL:
        EndDialog(dialog, IDCANCEL);
        return TRUE;
    }
  } catch (...) {
    // Nothing may unwind through the dialog manager.
  }
  return FALSE;
}

}  // namespace

bool RunUploadUnitDialog(HWND owner, uint32_t* unit) {
  // The dialog works on a copy, so a dialog that fails half-way leaves the caller's unit.
  uint32_t chosen = *unit;
  const INT_PTR ended = DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(IDD_PUT_UNIT), owner,
                                        UploadUnitProc, reinterpret_cast<LPARAM>(&chosen));
  if (ended != IDOK) return false;
  *unit = chosen;
  return true;
}

}  // namespace qbrk
