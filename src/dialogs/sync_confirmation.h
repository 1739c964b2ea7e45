// The question asked before a synchronization when the user wants to be asked.
#pragma once

#include <windows.h>

namespace qbrk {

// Shows dialog 6004 owned by `owner`; true only when the user answers yes.
bool ConfirmSynchronize(HWND owner);

}  // namespace qbrk
