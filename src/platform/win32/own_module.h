// The module that holds the library's own code: HVqbrkCn.dll when linked into the DLL, the
// program itself when linked into a test program. Its resources and file name are the
// library's, not the host program's.
#pragma once

#include <windows.h>

namespace qbrk {

// Found from the address of this function, so it never depends on the module's file name.
// Null only if the system cannot map the address to a module.
HMODULE OwnModule();

}  // namespace qbrk
