// The request/response trace: appended to the current error log file after each status is
// read, when logging is on and the job is not cancelled. Bodies are never recorded.
#pragma once

#include <string>

#include "platform/clock.h"
#include "platform/file_system.h"

namespace qbrk {

// Writes the time line, the request block and the response block into the current log file
// (never creating it). Failures are silent.
void WriteTraceExchange(FileSystem& files, Clock& clock, const std::string& raw_request_headers,
                        const std::string& raw_response_headers);

}  // namespace qbrk
