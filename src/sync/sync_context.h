// The per-run state that planning and execution share: the platform, the server session, the
// two roots, the job's dialog and the name of the entry a step failed on.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/dialog_link.h"
#include "platform/env.h"

namespace qbrk {

class ChoicePrompt;
class ServerSession;

struct SyncContext {
  explicit SyncContext(Env& platform) : env(platform) {}

  Env& env;
  // The open connection's session; every server operation runs through it.
  ServerSession* session = nullptr;
  // The mirror folder, without a trailing backslash.
  std::string mirror;
  // The job's dialog, or null when the job has none. A dialog that is still linked but no
  // longer attached has asked for the job to stop.
  DialogLink* link = nullptr;
  // Where questions go when no dialog is attached.
  ChoicePrompt* prompt = nullptr;
  // The name (without its folder) of the entry the failing step worked on.
  std::string error_name;
  // The table file that execution writes at its checkpoints; empty for none.
  std::string table_path;
  // When execution last wrote it (tick count), once execution has begun.
  bool checkpoint_started = false;
  uint32_t checkpoint_tick = 0;

  // True when the job's dialog has gone or the user cancelled it.
  bool IsCancelled() const { return link && !link->IsAttached(); }
};

}  // namespace qbrk
