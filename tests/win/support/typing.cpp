#include "support/typing.h"

namespace qbrk::test {

void TypeInto(HWND dialog, int id, const std::string& text) {
  HWND edit = GetDlgItem(dialog, id);
  SendMessageA(edit, EM_SETSEL, 0, -1);  // typing replaces the selection, as it would
  SendMessageA(edit, WM_CHAR, VK_BACK, 1);
  for (char c : text)
    SendMessageA(edit, WM_CHAR, static_cast<WPARAM>(static_cast<unsigned char>(c)), 1);
}

}  // namespace qbrk::test
