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
  // Appended piece by piece: g++ 12 at -O3 warns falsely on `"literal" + std::string&&`.
  std::string time_line = "\"";
  time_line += LogTimeStamp(clock.LocalNow());
  time_line += "\"\r\n";
  AppendToCurrentLog(
      files, {time_line, kRequestRule, raw_request_headers, kResponseRule, raw_response_headers});
}

}  // namespace qbrk
