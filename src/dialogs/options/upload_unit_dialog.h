// The upload unit dialog (6035): one list of five sizes.
#pragma once

#include <windows.h>

#include <cstdint>

namespace qbrk {

// Opens on the entry for `*unit` (512KB for a value not in the list) and stores the chosen
// entry's value there on OK. True on OK; on Cancel `*unit` is untouched.
bool RunUploadUnitDialog(HWND owner, uint32_t* unit);

}  // namespace qbrk
