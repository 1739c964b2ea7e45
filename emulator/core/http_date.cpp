#include "http_date.h"

#include <array>

namespace qbrk::emulator {

namespace {

constexpr std::array<std::string_view, 7> kWeekdays = {"Sun", "Mon", "Tue", "Wed",
                                                       "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr int64_t kSecondsPerDay = 86400;

struct Civil {
  int64_t year;
  int month;  // 1 to 12
  int day;    // 1 to 31
};

// Days since 1970-01-01 of a date of the proleptic Gregorian calendar, counted in eras of
// 400 years (146097 days) so that no library call is needed.
int64_t DaysFromCivil(const Civil& date) {
  const int64_t y = date.year - (date.month <= 2 ? 1 : 0);
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t year_of_era = y - era * 400;
  const int64_t day_of_year =
      (153 * (date.month + (date.month > 2 ? -3 : 9)) + 2) / 5 + date.day - 1;
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

Civil CivilFromDays(int64_t days) {
  days += 719468;
  const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const int64_t day_of_era = days - era * 146097;
  const int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t mp = (5 * day_of_year + 2) / 153;
  const int day = static_cast<int>(day_of_year - (153 * mp + 2) / 5 + 1);
  const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  return Civil{year_of_era + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

// 1970-01-01 was a Thursday.
int WeekdayOf(int64_t days) {
  const int64_t from_sunday = (days + 4) % 7;
  return static_cast<int>(from_sunday < 0 ? from_sunday + 7 : from_sunday);
}

void AppendDigits(std::string* out, int64_t value, int width) {
  char digits[4];
  for (int i = width - 1; i >= 0; --i, value /= 10)
    digits[i] = static_cast<char>('0' + value % 10);
  out->append(digits, static_cast<size_t>(width));
}

std::optional<int> Digits(std::string_view text, size_t at, size_t count) {
  int value = 0;
  for (size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

int IndexOf(const auto& names, std::string_view word) {
  for (size_t i = 0; i < names.size(); ++i) {
    if (word == names[i]) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

std::string FormatHttpDate(int64_t when) {
  std::string text;
  AppendHttpDate(&text, when);
  return text;
}

void AppendHttpDate(std::string* out, int64_t when) {
  // Days rounded down, so that a time before 1970 falls on the day it belongs to.
  const int64_t days = (when >= 0 ? when : when - (kSecondsPerDay - 1)) / kSecondsPerDay;
  const int64_t second_of_day = when - days * kSecondsPerDay;
  const Civil date = CivilFromDays(days);
  if (date.year < 0 || date.year > 9999) return;
  *out += kWeekdays[WeekdayOf(days)];
  *out += ", ";
  AppendDigits(out, date.day, 2);
  *out += ' ';
  *out += kMonths[date.month - 1];
  *out += ' ';
  AppendDigits(out, date.year, 4);
  *out += ' ';
  AppendDigits(out, second_of_day / 3600, 2);
  *out += ':';
  AppendDigits(out, second_of_day / 60 % 60, 2);
  *out += ':';
  AppendDigits(out, second_of_day % 60, 2);
  *out += " GMT";
}

std::optional<int64_t> ParseHttpDate(std::string_view text) {
  // "Www, DD Mmm YYYY HH:MM:SS GMT"
  if (text.size() != 29) return std::nullopt;
  if (text.substr(3, 2) != ", " || text[7] != ' ' || text[11] != ' ' || text[16] != ' ' ||
      text[19] != ':' || text[22] != ':' || text.substr(25) != " GMT") {
    return std::nullopt;
  }
  const int weekday = IndexOf(kWeekdays, text.substr(0, 3));
  const int month = IndexOf(kMonths, text.substr(8, 3));
  const auto day = Digits(text, 5, 2);
  const auto year = Digits(text, 12, 4);
  const auto hour = Digits(text, 17, 2);
  const auto minute = Digits(text, 20, 2);
  const auto second = Digits(text, 23, 2);
  if (weekday < 0 || month < 0 || !day || !year || !hour || !minute || !second) return std::nullopt;
  if (*day < 1 || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  const int64_t days = DaysFromCivil(Civil{*year, month + 1, *day});
  // 30 February would count on into March; the way back shows it.
  const Civil check = CivilFromDays(days);
  if (check.day != *day || check.month != month + 1 || WeekdayOf(days) != weekday) {
    return std::nullopt;
  }
  return days * kSecondsPerDay + *hour * 3600 + *minute * 60 + *second;
}

}  // namespace qbrk::emulator
