// The start-up check: has anything in the mirror folder changed since the last
// synchronization? It compares the folder with the table file only, on the caller's
// thread, without contacting the server; changes made on the server are found by the next
// synchronization.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/env.h"

namespace qbrk {

// 1 when the mirror folder differs from the recorded state (a file new, changed or deleted
// locally, a folder new or deleted locally), else 0. A table file that is missing or cannot
// be read counts as empty, so every local file is new; a scan that fails part-way compares
// what it saw. Nothing is reported.
int CheckLocalChanges(Env& env, const std::string& mirror_folder);

// What the check needs from the user interface.
struct StartUpCheckUi {
  // Dialog 6005 with the "CheckBoot" value, which it may change; true when the user answered
  // yes.
  std::function<bool(uint32_t* check_boot)> confirm;
  // The synchronize dialog without the confirmation; true when the job completed without
  // an error.
  std::function<bool()> synchronize;
  // Closes every open runtime-library file stream before the host is told the folder is in
  // step (may be empty).
  std::function<void()> close_streams;
};

// How the "CheckBoot" setting reads: without the settings key the check is off (options were
// never saved); a key without a readable value counts as the default, on.
bool StartUpCheckEnabled(Env& env);

// qbrkChckStartUpSynchro's work after the command guard: when the check is on and the mirror
// folder exists, tell the host whether the folder is in step (32780 with 1 or 0), offering
// to synchronize when it is not.
void RunStartUpCheck(Env& env, const StartUpCheckUi& ui);

}  // namespace qbrk
