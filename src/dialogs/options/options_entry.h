// The options command: loads the options, lets the user edit them, and stores them when the
// user confirms. Portable; the dialog is handed in.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/env.h"
#include "settings/options.h"

namespace qbrk {

// The dialog's end code (IDOK 1, IDCANCEL 2) or 0 when it could not be shown.
using OptionsEditor = std::function<uint32_t(OptionsRecord* record)>;
inline constexpr uint32_t kOptionsConfirmed = 1;

// Runs `edit` on the stored options and stores what it returns on confirmation (the
// start-up shortcut included). Returns what `edit` returned.
uint32_t RunOptionsEntry(Env& env, const OptionsEditor& edit);

}  // namespace qbrk
