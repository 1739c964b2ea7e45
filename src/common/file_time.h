// FILETIME arithmetic: 64-bit counts of 100 ns since 1601-01-01 UTC, and their calendar
// fields (the conversions of FileTimeToSystemTime and SystemTimeToFileTime).
#pragma once

#include <cstdint>

#include "common/calendar_time.h"

namespace qbrk {

inline constexpr uint64_t kFileTimeTicksPerSecond = 10000000ULL;

// Calendar fields of a FILETIME (proleptic Gregorian, no zone shift); false before 1601 or
// after year 30827.
bool FileTimeToCalendar(uint64_t file_time, CalendarTime* out);
// FILETIME of calendar fields; false for impossible dates.
bool CalendarToFileTime(const CalendarTime& time, uint64_t* file_time);

}  // namespace qbrk
