#include "diag/trace_log.h"

#include "diag/error_log.h"

namespace qbrk {

namespace {
constexpr char kRequestRule[] =
    "------------------------------ Request ------------------------------\r\n";
constexpr char kResponseRule[] =
    "------------------------------ Response ------------------------------\r\n";
}  // namespace

void WriteTraceExchange(FileSystem& files, Clock& clock, const std::string& raw_request_headers,
                        const std::string& raw_response_headers) {
  if (LoggingLevel() == 0) return;
  const std::string time_line = "\"" + LogTimeStamp(clock.LocalNow()) + "\"\r\n";
  AppendToCurrentLog(
      files, {time_line, kRequestRule, raw_request_headers, kResponseRule, raw_response_headers});
}

}  // namespace qbrk
