// The command guard that every guarded export runs its work under:
//   1. keep the host value and owner window (not for qbrkUpdate);
//   2. wait at most 1000 ms for the command mutex, else return the busy result silently;
//   3. tell the host window that the library is busy (32779 with 1);
//   4. run the command;
//   5. release the mutex and, if the host window was there in step 3, send 32779 with 0.
// Step 5 happens on every path out of the command, an exception included.
#pragma once

#include <cstdint>
#include <functional>

#include "exports/command_mutex.h"
#include "exports/export_rules.h"
#include "exports/kept_host_arguments.h"
#include "platform/host_window.h"

namespace qbrk {

inline constexpr uint32_t kCommandWaitMs = 1000;

class CommandGuard {
 public:
  CommandGuard(CommandMutex& mutex, HostWindow& host, KeptHostArguments& kept)
      : mutex_(mutex), host_(host), kept_(kept) {}

  // Runs `command` under the guard for export `id` and returns its result, or the export's
  // busy result when another command holds the mutex. An exception from `command` passes
  // through once the mutex is released and the host told.
  uint32_t Run(ExportId id, uintptr_t host_value, uintptr_t owner,
               const std::function<uint32_t()>& command);

 private:
  CommandMutex& mutex_;
  HostWindow& host_;
  KeptHostArguments& kept_;
};

}  // namespace qbrk
