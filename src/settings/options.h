// The options dialog's record, loaded from and stored to the settings. The dialog itself
// only edits the record; the registry and the start-up shortcut are touched here.
#pragma once

#include <cstdint>
#include <string>

#include "platform/env.h"

namespace qbrk {

// Fields in the order of the dialog's controls.
struct OptionsRecord {
  std::string mail_address;
  std::string password;
  uint32_t remember_password = 1;
  uint32_t check_boot = 1;          // start-up check ("CheckBoot")
  uint32_t sync_notify = 1;         // confirm before synchronizing ("SyncNotify")
  uint32_t finish_close = 0;        // close progress dialogs when done ("FinishClose")
  uint32_t animation = 1;           // ("Animation"), loaded but never stored here
  uint32_t start_with_windows = 1;  // the start-up shortcut exists
  uint32_t put_unit = 524288;       // upload unit in bytes ("PutUnit")
  uint32_t use_ssl = 0;             // ("UseSSL")
};

// Fills `record` from "Info", the DWORD values and the start-up shortcut.
void LoadOptions(Env& env, OptionsRecord* record);

// Writes "Info", then SyncNotify, CheckBoot, FinishClose, PutUnit and UseSSL, then creates
// or deletes the start-up shortcut. Failures are silent; Animation is not written.
void StoreOptions(Env& env, const OptionsRecord& record);

}  // namespace qbrk
