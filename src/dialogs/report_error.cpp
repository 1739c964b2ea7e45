#include "dialogs/report_error.h"

#include "dialogs/error_message.h"
#include "dialogs/message_box_rules.h"

namespace qbrk {

uint32_t ReportError(StringTable& strings, ResultCode code, const std::string& subject,
                     uint32_t type, HWND owner, const ErrorReportHooks& hooks) {
  try {
    if (hooks.log_error) hooks.log_error(code);
    const ErrorMessage message = ComposeErrorMessage(code, subject, type, strings);
    if (!message.shown) return 0;
    return ShowMessageBox(message.text.c_str(), message.caption.c_str(), message.type, owner,
                          hooks.open_status_page);
  } catch (...) {
    return box_result::kNotShown;
  }
}

}  // namespace qbrk
