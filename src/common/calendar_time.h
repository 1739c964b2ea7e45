// Calendar fields of a moment, laid out as SYSTEMTIME: what a clock reports as local time
// and what file times and HTTP dates convert to and from.
#pragma once

namespace qbrk {

struct CalendarTime {
  int year = 0;
  int month = 0;        // 1..12
  int day_of_week = 0;  // 0 = Sunday
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int milliseconds = 0;
};

}  // namespace qbrk
