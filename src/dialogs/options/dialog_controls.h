// Small Win32 helpers shared by the options, sign-in and upload unit dialogs.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "dialogs/options/option_rules.h"

namespace qbrk {

std::string ControlText(HWND dialog, int id);
void SetCheck(HWND dialog, int id, uint32_t checked);
uint32_t CheckOf(HWND dialog, int id);
// The WM_INITDIALOG answer: FALSE after moving the focus, TRUE to leave it to the dialog
// manager.
INT_PTR ApplyInitialFocus(HWND dialog, InitialFocus focus, int mail_id, int password_id);

}  // namespace qbrk
