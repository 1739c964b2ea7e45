// Dialog 6024: publishing needs the mirror folder synchronized first; synchronize now?
#pragma once

#include <windows.h>

namespace qbrk {

// True when the user chose to synchronize.
bool ConfirmSynchronizeFirst(HWND owner);

}  // namespace qbrk
