// What the mirror folder dialog (6030) shows when it opens and what its OK does with the
// path the user entered: create the folder, mark it, store it as "Mirror".
#pragma once

#include <string>

#include "common/result_code.h"
#include "platform/env.h"
#include "platform/shell.h"

namespace qbrk {

// Who opened the dialog: the change-mirror-folder command, or the repair of a mirror folder
// that vanished (where even the same path must be made again).
enum class MirrorDialogMode { kCommand, kRepair };

struct MirrorChange {
  enum class Outcome {
    kUnchanged,  // the command was given the current folder: close with OK, touch nothing
    kChanged,    // the folder exists, is marked and is stored: close with OK
    kRejected,   // report `error` and keep the dialog open
  };
  Outcome outcome = Outcome::kRejected;
  ResultCode error = result::kSuccess;
  std::string path;  // the folder as stored
};

// My Documents + "\My Quellanbrook"; My Documents is made when missing, the folder is not.
// False without My Documents.
bool DefaultMirrorPath(Shell& shell, std::string* path);

// The folder the dialog shows first: the stored "Mirror" (even when it has vanished), else
// the default folder, else nothing.
std::string InitialMirrorPath(Env& env);

// OK with `entered`, the edit box's text; `current` is the mirror folder the dialog opened with.
// Trailing blanks and backslashes are dropped. Only a full path (drive or network) of at most
// 259 bytes is taken. Rejections: 95 for a path that is not a usable folder (relative, too
// long, cannot be created, a file of that name, cannot be marked read-only), 500 when the
// setting cannot be stored.
MirrorChange ApplyMirrorFolderChange(Env& env, MirrorDialogMode mode, const std::string& current,
                                     const std::string& entered);

}  // namespace qbrk
