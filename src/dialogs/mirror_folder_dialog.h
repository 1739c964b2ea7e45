// The mirror folder dialog (6030): the user names the local folder to keep in step, types it
// or browses for it, or goes back to the default; OK creates, marks and stores it.
#pragma once

#include <windows.h>

#include <cstdint>

#include "dialogs/mirror_folder_change.h"
#include "platform/env.h"

namespace qbrk {

// Runs the dialog modally, owned by `owner` (null: none). 1 when it ended with OK, 0 when it
// was cancelled or could not be shown.
uint32_t RunMirrorFolderDialog(Env& env, HWND owner, MirrorDialogMode mode);

}  // namespace qbrk
