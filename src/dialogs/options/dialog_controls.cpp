#include "dialogs/options/dialog_controls.h"

#include <vector>

namespace qbrk {

std::string ControlText(HWND dialog, int id) {
  HWND control = GetDlgItem(dialog, id);
  const int length = GetWindowTextLengthA(control);
  std::vector<char> text(static_cast<size_t>(length > 0 ? length : 0) + 1, '\0');
  GetWindowTextA(control, text.data(), static_cast<int>(text.size()));
  return text.data();
}

void SetCheck(HWND dialog, int id, uint32_t checked) {
  CheckDlgButton(dialog, id, checked != 0 ? BST_CHECKED : BST_UNCHECKED);
}

uint32_t CheckOf(HWND dialog, int id) {
  return IsDlgButtonChecked(dialog, id) == BST_CHECKED ? 1 : 0;
}

INT_PTR ApplyInitialFocus(HWND dialog, InitialFocus focus, int mail_id, int password_id) {
  switch (focus) {
    case InitialFocus::kPassword:
      SetFocus(GetDlgItem(dialog, password_id));
      return FALSE;
    case InitialFocus::kMailAddress:
      SetFocus(GetDlgItem(dialog, mail_id));
      return FALSE;
    case InitialFocus::kDialogDefault:
      break;
  }
  return TRUE;
}

}  // namespace qbrk
