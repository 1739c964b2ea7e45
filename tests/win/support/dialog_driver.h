// Drives a modal dialog as a person would: the dialog runs on the test's thread, and a second
// thread finds its window, reads it and presses its buttons.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace qbrk::test {

// Runs `show` (which opens a modal dialog and returns when it ends) on this thread and
// `drive` on a second thread with the visible top-level dialog titled `caption`. A dialog
// that `drive` leaves open is a failure and is ended, so a broken dialog cannot hang the run.
// So is a dialog with another title that opens first, and `show` returning without the
// dialog: the failure names what opened, and every dialog that opens after it is ended.
// An empty caption stands for any dialog of this process (the system's own dialogs have
// captions that follow the system's language). Returns what `show` returned.
uint32_t RunDialog(const std::function<uint32_t()>& show, const std::string& caption,
                   const std::function<void(HWND)>& drive);

// Runs `show` expecting that it opens no dialog titled `caption`; a dialog that does appear
// is a failure and is ended. Returns what `show` returned.
uint32_t RunWithoutDialog(const std::function<uint32_t()>& show, const std::string& caption);

// Ends a dialog of the driving thread's partner without pressing anything (for dialogs that
// have no way out by design). The dialog then ends with 0.
void ForceEndDialog(HWND dialog);

// Waits until `dialog` no longer exists; false after `timeout_ms`.
bool WaitUntilClosed(HWND dialog, int timeout_ms = 3000);

// Presses a button the way a click does and lets the dialog handle it.
void Click(HWND dialog, int id);

// Presses a button without waiting for the dialog to handle it: for buttons that open a
// dialog of their own, which the driving thread then has to find and answer.
void PostClick(HWND dialog, int id);

// A visible dialog of this process titled `caption` (empty: any title) other than
// `other_than`, waiting up to five seconds for it; null when none appears.
HWND WaitForDialog(const std::string& caption, HWND other_than = nullptr);

// Presses Escape in the dialog; the dialog manager turns it into the cancel command.
void PressEscape(HWND dialog);

// Chooses `path` in the shell's folder browser, as a person clicking it would, and waits (a
// bounded time) until the browser's tree shows it selected. False when it never does.
// (Wine applies a browser's initial selection only now and then; an OK without one answers
// with the desktop.)
bool SelectInBrowser(HWND browser, const std::string& path);

// A dialog's title and the texts of its controls, for failure messages.
std::string DescribeDialog(HWND dialog);

// The text of a control, or of the window itself when id is 0, as ANSI (code page 932) text.
std::string TextOf(HWND dialog, int id = 0);

// A control's rectangle in the dialog's client coordinates.
RECT ClientRectOf(HWND dialog, int id);

// The control that has the keyboard focus in the dialog's thread, once the dialog is active.
// Other test programs share the display and may take the activation (and with it the focus)
// away; the dialog is activated again, a bounded number of times, until the focus is back.
HWND FocusOf(HWND dialog);

}  // namespace qbrk::test
