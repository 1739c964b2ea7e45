// The options dialog's record: everything the options dialog edits, in the order of its
// controls. Loading and storing it (start-with-Windows is the start-up shortcut, not a value
// of the settings key) is shell/options_store.h.
#pragma once

#include <cstdint>
#include <string>

namespace qbrk {

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

}  // namespace qbrk
