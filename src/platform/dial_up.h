// Dial-up connections of the Remote Access Service ("rasapi32.dll", loaded at run time).
// A connection remembers which dial-up connections were active when it opened, so that at
// close it can offer to hang up the ones it caused.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/sys_error.h"

namespace qbrk {

// One entry of RasEnumConnectionsA.
struct DialUpEntry {
  uintptr_t handle = 0;    // HRASCONN
  std::string entry_name;  // szEntryName
};

// The three entry points, available while this object lives (destruction unloads them).
class DialUp {
 public:
  virtual ~DialUp() = default;
  // RasEnumConnectionsA; a buffer too small for every entry is grown once to the size the
  // first call reports (603 or 8), and a failure of the second call is returned.
  virtual SysError Enumerate(std::vector<DialUpEntry>* entries) = 0;
  // RasHangUpA.
  virtual SysError HangUp(uintptr_t handle) = 0;
  // RasGetConnectStatusA: 0 while the connection exists, 6 (invalid handle) once it is gone.
  virtual SysError ConnectStatus(uintptr_t handle) = 0;
};

class DialUpLoader {
 public:
  virtual ~DialUpLoader() = default;
  // Loads the library with critical-error and open-file-error boxes suppressed; null when the
  // library or one of the entry points is missing (dial-up handling is then skipped).
  virtual std::unique_ptr<DialUp> Load() = 0;
};

}  // namespace qbrk
