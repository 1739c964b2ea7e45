#include "dialogs/options/upload_unit_dialog.h"

#include "dialogs/modal_dialog.h"
#include "dialogs/options/option_rules.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

struct UploadUnitDialog {
  using State = uint32_t;  // the unit shown, and the one chosen on OK

  static INT_PTR Initialise(HWND dialog, uint32_t& unit) {
    HWND list = GetDlgItem(dialog, IDC_PUT_UNIT_LIST);
    for (const UploadUnitChoice& choice : kUploadUnitChoices)
      SendMessageA(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(choice.text));
    SendMessageA(list, CB_SETCURSEL, static_cast<WPARAM>(UploadUnitIndex(unit)), 0);
    return TRUE;
  }

  static bool Clicked(HWND dialog, uint32_t& unit, int id) {
    if (id != IDOK) return false;
    const LRESULT selected = SendDlgItemMessageA(dialog, IDC_PUT_UNIT_LIST, CB_GETCURSEL, 0, 0);
    unit = UploadUnitAt(static_cast<int>(selected));
    EndDialog(dialog, IDOK);
    return true;
  }
};

}  // namespace

bool RunUploadUnitDialog(HWND owner, uint32_t* unit) {
  // The dialog works on a copy, so a dialog that fails half-way leaves the caller's unit.
  uint32_t chosen = *unit;
  if (RunModalDialog<UploadUnitDialog>(owner, IDD_PUT_UNIT, &chosen) != IDOK) return false;
  *unit = chosen;
  return true;
}

}  // namespace qbrk
