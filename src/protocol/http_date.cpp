#include "protocol/http_date.h"

#include <cstdio>

#include "common/calendar_time.h"
#include "common/file_time.h"
#include "protocol/decimal.h"

namespace qbrk {

namespace {

constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Index of `name` in `names`, or -1.
template <size_t N>
int IndexOf(const char* const (&names)[N], std::string_view name) {
  for (size_t i = 0; i < N; ++i)
    if (name == names[i]) return static_cast<int>(i);
  return -1;
}

int Field(std::string_view text, size_t at, size_t width) {
  // At most four digits: the value always fits.
  return static_cast<int>(LeadingDecimal(text.substr(at, width)));
}

}  // namespace

bool FormatHttpDate(uint64_t file_time, std::string* text) {
  CalendarTime t;
  if (!FileTimeToCalendar(file_time, &t)) return false;
  if (t.day_of_week < 0 || t.day_of_week > 6 || t.month < 1 || t.month > 12) return false;
  char buffer[64];
  const int n = std::snprintf(buffer, sizeof buffer, "%s, %02d %s %d %02d:%02d:%02d GMT",
                              kWeekdays[t.day_of_week], t.day, kMonths[t.month - 1], t.year, t.hour,
                              t.minute, t.second);
  if (n != static_cast<int>(kHttpDateLength)) return false;
  text->assign(buffer, static_cast<size_t>(n));
  return true;
}

bool ParseHttpDate(std::string_view text, uint64_t* file_time) {
  if (text.size() != kHttpDateLength) return false;
  const int month = IndexOf(kMonths, text.substr(8, 3));
  if (month < 0) return false;
  const int weekday = IndexOf(kWeekdays, text.substr(0, 3));
  if (weekday < 0) return false;
  CalendarTime t;
  t.year = Field(text, 12, 4);
  t.month = month + 1;
  t.day_of_week = weekday;
  t.day = Field(text, 5, 2);
  t.hour = Field(text, 17, 2);
  t.minute = Field(text, 20, 2);
  t.second = Field(text, 23, 2);
  t.milliseconds = 0;
  return CalendarToFileTime(t, file_time);
}

}  // namespace qbrk
