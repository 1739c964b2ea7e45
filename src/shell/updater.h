// The updater "hvqbrksu.exe" in the tray tool's installation folder.
#pragma once

#include <cstdint>
#include <string>

#include "platform/env.h"

namespace qbrk {

// "\"" + folder + "\hvqbrksu.exe\" /u" (no second backslash when the folder ends with one).
std::string UpdaterCommandLine(const std::string& install_folder);

// Reads the installation folder from HKLM, runs the updater and waits for it to end.
// 1 when it was started, 0 when the folder is unknown or the program did not start.
uint32_t RunUpdater(Env& env);

}  // namespace qbrk
