// The options dialog (6006) and the options command around it. RunOptionsDialog (the form a
// progress dialog runs for its worker) is declared in dialogs/dialog_requests.h.
#pragma once

#include <windows.h>

#include <cstdint>

#include "platform/env.h"
#include "platform/host_window.h"
#include "settings/options.h"

namespace qbrk {

// Edits `record`; on OK writes every control back and tells `host` the animation setting.
// Returns IDOK or IDCANCEL, or 0 when the dialog could not be shown.
uint32_t ShowOptionsDialog(HWND owner, OptionsRecord* record, HostWindow& host);

// The options command: the stored options in the dialog, stored again (start-up shortcut
// included) on OK. Returns what the dialog returned.
uint32_t OpenOptions(Env& env, HWND owner);

}  // namespace qbrk
