// What the library keeps from load to unload: the command mutex, the host's arguments and
// the guard built on them.
#pragma once

#include "exports/command_guard.h"
#include "exports/kept_host_arguments.h"

namespace qbrk {

// Process attach: creates the command mutex and gives the message box its status page.
void AttachLibrary();
// Process detach: closes the command mutex.
void DetachLibrary();

KeptHostArguments& KeptArguments();
CommandGuard& Guard();

}  // namespace qbrk
