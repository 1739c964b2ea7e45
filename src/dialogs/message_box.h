// The library's own message box (dialog 6021): the system message box's type flags and
// results, Japanese button captions, a size that follows the text, and an optional button
// that opens the service's status page.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

namespace qbrk {

// What the status button does. The box stays open while it runs.
using StatusPageAction = std::function<void()>;

// Shows the box modally, owned by `owner` (null: no owner; the caller resolves the kept owner
// window). A null caption gives "Qbrookツール". Returns the pressed button's result (1 OK, 2
// Cancel, 3 Abort, 4 Retry, 5 Ignore, 6 Yes, 7 No), or 0xFFFFFFFF when the dialog could not
// be created. The status button runs `open_status_page` (nothing when it is empty).
uint32_t ShowMessageBox(const char* text, const char* caption, uint32_t type, HWND owner,
                        const StatusPageAction& open_status_page);

// As above, with the process-wide status page action.
uint32_t ShowMessageBox(const char* text, const char* caption, uint32_t type, HWND owner);

// Installs the process-wide status page action (the library installs one that opens the
// "QuellanbrookEmergency" page through its environment). Not thread-safe: set it before any
// box can be shown.
void SetStatusPageAction(StatusPageAction action);

}  // namespace qbrk
