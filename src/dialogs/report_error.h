// The error reporter: logs a result code, then tells the user about it in the message box.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

#include "common/result_code.h"
#include "dialogs/message_box.h"
#include "platform/env.h"
#include "platform/string_table.h"

namespace qbrk {

// Writes the ERROR line (when logging is on) and shows the message for `code` with `subject`
// (a path; empty when there is none). Returns the box's result, or 0 without showing anything
// for codes 0 and 1. The status button opens the service's status page through `env`.
uint32_t ReportError(Env& env, ResultCode code, const std::string& subject, uint32_t type,
                     HWND owner);

// The reporter's reach into other subsystems, for callers that supply their own.
struct ErrorReportHooks {
  std::function<void(ResultCode)> log_error;  // runs first, for every code
  StatusPageAction open_status_page;
};

uint32_t ReportError(StringTable& strings, ResultCode code, const std::string& subject,
                     uint32_t type, HWND owner, const ErrorReportHooks& hooks);

}  // namespace qbrk
