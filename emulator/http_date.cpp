#include "http_date.h"

#include <array>
#include <cstdio>

namespace qbrk::emulator {

namespace {

constexpr std::array<const char*, 7> kWeekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

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

std::string FormatHttpDate(time_t when) {
  struct tm fields {};
  if (gmtime_r(&when, &fields) == nullptr) return {};
  char text[64];
  std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT", kWeekdays[fields.tm_wday],
                fields.tm_mday, kMonths[fields.tm_mon], fields.tm_year + 1900, fields.tm_hour,
                fields.tm_min, fields.tm_sec);
  return text;
}

std::optional<time_t> ParseHttpDate(std::string_view text) {
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
  struct tm fields {};
  fields.tm_year = *year - 1900;
  fields.tm_mon = month;
  fields.tm_mday = *day;
  fields.tm_hour = *hour;
  fields.tm_min = *minute;
  fields.tm_sec = *second;
  const time_t when = timegm(&fields);
  struct tm check {};
  if (gmtime_r(&when, &check) == nullptr) return std::nullopt;
  // timegm normalises 30 February into March; a round trip exposes that.
  if (check.tm_mday != *day || check.tm_mon != month || check.tm_wday != weekday) {
    return std::nullopt;
  }
  return when;
}

}  // namespace qbrk::emulator
