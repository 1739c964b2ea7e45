// The two progress dialogs (6002 synchronization, 6105 file transfer). Each starts its
// worker on a thread of its own when it opens, answers the worker's messages, and reports
// afterwards whether the run failed.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/win32/job_link.h"

namespace qbrk {

// What the dialog and its worker share besides the link: the text an error end shows with
// its message (the name of the entry concerned). The worker writes it before it posts 1078;
// the dialog reads it in that message's handler, while the worker waits.
struct ProgressJobText {
  std::string error_name;
};

// The worker's body, run on its own thread. It owns both arguments' references; the dialog
// may be gone before it returns.
using ProgressWorker =
    std::function<void(std::shared_ptr<JobLink> link, std::shared_ptr<ProgressJobText> text)>;

// Dialog 6002, modal to `owner`. True when the run failed: an error end arrived, or no
// completion did (the user cancelled).
bool RunSyncProgressDialog(HWND owner, ProgressWorker worker);

// Dialog 6105. `options` bit 0x2 shows the error message box on an error end; bit 0x4
// hides the close-when-finished check box and closes the dialog on completion.
bool RunTransferProgressDialog(HWND owner, uint32_t options, ProgressWorker worker);

}  // namespace qbrk
