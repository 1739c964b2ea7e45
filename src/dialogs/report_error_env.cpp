// Kept apart from the reporter itself: this is the only part that reaches the error log and
// the home page command.
#include "diag/error_log.h"
#include "dialogs/report_error.h"
#include "shell/home_page.h"

namespace qbrk {

uint32_t ReportError(Env& env, ResultCode code, const std::string& subject, uint32_t type,
                     HWND owner) {
  ErrorReportHooks hooks;
  hooks.log_error = [&env](ResultCode logged) {
    if (LoggingLevel() != 0) WriteLogLine(env.files, env.clock, logged, LogKind::kError);
  };
  hooks.open_status_page = [&env] { ViewHomePage(env, kEmergencyPageValue); };
  return ReportError(env.strings, code, subject, type, owner, hooks);
}

}  // namespace qbrk
