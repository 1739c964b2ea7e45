#include "common/file_time.h"

namespace qbrk {

namespace {
constexpr uint64_t kTicksPerSecond = kFileTimeTicksPerSecond;
constexpr uint64_t kTicksPerDay = 86400ULL * kTicksPerSecond;

bool IsLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }
int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}
// Days from 1601-01-01 to the first day of `year`.
int64_t DaysBeforeYear(int year) {
  const int64_t y = year - 1601;
  return y * 365 + y / 4 - y / 100 + y / 400;
}
}  // namespace

bool FileTimeToCalendar(uint64_t file_time, CalendarTime* out) {
  if (file_time >= 0x8000000000000000ULL) return false;
  uint64_t days = file_time / kTicksPerDay;
  const uint64_t rest = file_time % kTicksPerDay;
  CalendarTime t;
  t.day_of_week = static_cast<int>((days + 1) % 7);  // 1601-01-01 was a Monday
  int year = 1601;
  // Jump whole 400-year cycles (146097 days), then walk.
  year += static_cast<int>(days / 146097) * 400;
  days %= 146097;
  while (days >= static_cast<uint64_t>(IsLeap(year) ? 366 : 365)) {
    days -= IsLeap(year) ? 366 : 365;
    ++year;
  }
  int month = 1;
  while (days >= static_cast<uint64_t>(DaysInMonth(year, month))) {
    days -= DaysInMonth(year, month);
    ++month;
  }
  if (year > 30827) return false;
  t.year = year;
  t.month = month;
  t.day = static_cast<int>(days) + 1;
  t.hour = static_cast<int>(rest / (3600 * kTicksPerSecond));
  t.minute = static_cast<int>(rest / (60 * kTicksPerSecond) % 60);
  t.second = static_cast<int>(rest / kTicksPerSecond % 60);
  t.milliseconds = static_cast<int>(rest / 10000 % 1000);
  *out = t;
  return true;
}

bool CalendarToFileTime(const CalendarTime& t, uint64_t* file_time) {
  if (t.year < 1601 || t.year > 30827 || t.month < 1 || t.month > 12 || t.day < 1 ||
      t.day > DaysInMonth(t.year, t.month) || t.hour < 0 || t.hour > 23 || t.minute < 0 ||
      t.minute > 59 || t.second < 0 || t.second > 59 || t.milliseconds < 0 ||
      t.milliseconds > 999)
    return false;
  int64_t days = DaysBeforeYear(t.year);
  for (int m = 1; m < t.month; ++m) days += DaysInMonth(t.year, m);
  days += t.day - 1;
  const int64_t seconds = days * 86400 + t.hour * 3600 + t.minute * 60 + t.second;
  *file_time = static_cast<uint64_t>(seconds) * kTicksPerSecond +
               static_cast<uint64_t>(t.milliseconds) * 10000;
  return true;
}

}  // namespace qbrk
