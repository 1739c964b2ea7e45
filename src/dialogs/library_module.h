// The module that holds the library's resources.
#pragma once

#include <windows.h>

namespace qbrk {

// The module this code is linked into: the DLL when it runs inside HVqbrkCn.dll, the program
// itself when a test program links the code statically. Never the host's EXE.
HINSTANCE LibraryModule();

}  // namespace qbrk
