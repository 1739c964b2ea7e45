// The tray tool's start-up shortcut "Qbrook.LNK" in the user's Startup folder. Its
// existence is the start-with-Windows option; no registry value records it.
#pragma once

#include <string>

#include "platform/file_system.h"
#include "platform/shell.h"

namespace qbrk {

inline constexpr char kStartupLinkName[] = "Qbrook.LNK";
// Only the tray tool itself may put itself into the Startup folder.
inline constexpr char kHostProgramName[] = "HVQBRKUT.EXE";

// The Startup folder, a backslash unless it ends with one, and "Qbrook.LNK".
bool StartupLinkPath(Shell& shell, std::string* path);

// True when the link is found in the Startup folder (false also without the folder).
bool StartupShortcutExists(Shell& shell, FileSystem& files);

// Creates the link to the running program, unless that program is not the tray tool
// (its file name, upper-cased, must be "HVQBRKUT.EXE"). True when the link was made.
bool CreateStartupShortcut(Shell& shell);

// Deletes the link; true when it was deleted.
bool DeleteStartupShortcut(Shell& shell, FileSystem& files);

}  // namespace qbrk
