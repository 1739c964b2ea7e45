// The frame every modal dialog of the library shares: a dialog from this module's resources
// that works on a state object of its caller. The state's address travels with the window
// from WM_INITDIALOG on; every message is handled inside a try block, because nothing may
// unwind through the dialog manager (a failed step leaves the dialog as it is); a click on
// a button reaches the dialog's `Clicked`, and Cancel (or Escape), when `Clicked` leaves it,
// ends the dialog with IDCANCEL.
//
// A dialog is a type with
//   using State = ...;
//   static INT_PTR Initialise(HWND, State&);          // WM_INITDIALOG's answer
//   static bool Clicked(HWND, State&, int id);        // true when it handled the click
//   static INT_PTR Other(HWND, State&, UINT, WPARAM, LPARAM);  // optional: other messages
#pragma once

#include <windows.h>

#include "platform/win32/own_module.h"

namespace qbrk {

template <typename Dialog>
INT_PTR CALLBACK ModalDialogProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  using State = typename Dialog::State;
  try {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrA(dialog, DWLP_USER, lparam);
      return Dialog::Initialise(dialog, *reinterpret_cast<State*>(lparam));
    }
    // Messages before WM_INITDIALOG (WM_SETFONT and the like) find no state yet.
    auto* state = reinterpret_cast<State*>(GetWindowLongPtrA(dialog, DWLP_USER));
    if (!state) return FALSE;
    if (message == WM_COMMAND && HIWORD(wparam) == BN_CLICKED) {
      const int id = LOWORD(wparam);
      if (Dialog::Clicked(dialog, *state, id)) return TRUE;
      if (id != IDCANCEL) return FALSE;
      EndDialog(dialog, IDCANCEL);
      return TRUE;
    }
    if constexpr (requires { Dialog::Other(dialog, *state, message, wparam, lparam); })
      return Dialog::Other(dialog, *state, message, wparam, lparam);
  } catch (...) {
    // The dialog stays as it is.
  }
  return FALSE;
}

// Shows the dialog of resource `template_id` over `owner` and returns what it ended with
// (-1 or 0 when it could not be created). `state` must outlive the call.
template <typename Dialog>
INT_PTR RunModalDialog(HWND owner, int template_id, typename Dialog::State* state) {
  return DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(template_id), owner, ModalDialogProc<Dialog>,
                         reinterpret_cast<LPARAM>(state));
}

}  // namespace qbrk
