#include "demo_format.h"

#include <cstdio>

#include "common/calendar_time.h"
#include "common/file_time.h"
#include "dialogs/error_message.h"

namespace qbrk::demo {

std::string FormatFileTime(uint64_t file_time) {
  CalendarTime t;
  if (!FileTimeToCalendar(file_time, &t)) return "(no time)";
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d UTC", t.year, t.month, t.day,
                t.hour, t.minute, t.second);
  return text;
}

std::string GroupDigits(uint64_t value) {
  std::string digits = std::to_string(value);
  for (size_t i = digits.size(); i > 3; i -= 3)
    digits.insert(i - 3, ",");
  return digits;
}

uint64_t UploadPieces(uint64_t size, uint32_t unit) {
  if (unit == 0 || size <= unit) return 1;
  return (size + unit - 1) / unit;
}

std::string DescribeFailure(ResultCode code, const std::string& subject, StringTable& strings) {
  std::string line = "result code " + std::to_string(code) + ": ";
  const ErrorMessage message = ComposeErrorMessage(code, subject, 0, strings);
  if (!message.shown) return line + (code == result::kCancelled ? "stopped" : "no error");
  // The message box breaks its text into lines; the terminal gets one.
  bool blank = false;
  for (char c : message.text) {
    if (c == '\r' || c == '\n') {
      blank = true;
      continue;
    }
    if (blank && line.back() != ' ') line += ' ';
    blank = false;
    line += c;
  }
  return line;
}

}  // namespace qbrk::demo
