// Moves the options dialog's record to and from the settings key and the start-up shortcut.
// Shared by the options entry and by a connection that needs new credentials from a worker.
#pragma once

#include "platform/env.h"
#include "settings/options.h"

namespace qbrk {

// Fills `record` from "Info", the DWORD values and the start-up shortcut.
void LoadOptions(Env& env, OptionsRecord* record);

// Writes "Info", then SyncNotify, CheckBoot, FinishClose, PutUnit and UseSSL, then creates
// or deletes the start-up shortcut. Failures are silent; Animation is not written.
void StoreOptions(Env& env, const OptionsRecord& record);

}  // namespace qbrk
