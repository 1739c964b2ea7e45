// The synchronize dialog (6002) with the synchronize job as its worker, as qbrkSynchronize
// and the start-up check run it.
#pragma once

#include <windows.h>

#include "platform/env.h"

namespace qbrk {

// Runs the dialog modally to `owner`; true when the job completed and no error was recorded.
bool RunSynchronizeDialog(Env& env, HWND owner);

// After a clean run: closes every open runtime-library file stream, lets the files settle
// (500 ms) and tells the host window that the mirror folder is in step (32780 with 1).
void TellHostInStepAfterSync(Env& env);

// Closes every open runtime-library file stream (the standard three stay open).
void CloseRuntimeStreams();

}  // namespace qbrk
