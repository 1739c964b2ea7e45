// Dialog 6005: files in the mirror folder changed since the last synchronization;
// synchronize now?
#pragma once

#include <windows.h>

#include <cstdint>

namespace qbrk {

// `check_boot` holds the "CheckBoot" value: the "do not show" box starts ticked when it is
// 0, and on either button it becomes 0 when the box is ticked and 1 when it is clear. True
// when the user answered yes.
bool RunStartUpConfirmation(HWND owner, uint32_t* check_boot);

}  // namespace qbrk
