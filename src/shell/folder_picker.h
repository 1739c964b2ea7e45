// The shell's folder browser: choosing a folder inside the mirror folder, or anywhere.
#pragma once

#include <windows.h>

#include <string>

#include "platform/env.h"

namespace qbrk {

// Shows the shell's folder browser owned by `owner` with `prompt` above the tree; only
// file-system folders can be chosen. A non-empty `root` limits the browser to that folder
// and what lies below it (empty: the whole desktop); a root the shell cannot parse fails
// without showing anything, rather than letting the user roam. A non-empty `initial` is
// selected first. True with the folder's path in `chosen` when the user chose one.
bool BrowseForFolder(HWND owner, const std::string& prompt, const std::string& root,
                     const std::string& initial, std::string* chosen);

// A folder inside the mirror folder (resolved without asking the user): the browser is
// rooted there. False when the mirror folder cannot be resolved or the user cancels.
bool PickFolderInMirror(Env& env, HWND owner, const std::string& prompt, std::string* chosen);

}  // namespace qbrk
