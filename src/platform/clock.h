// Time for the library: tick counts, wall-clock time and sleeping.
#pragma once

#include <cstdint>

#include "common/calendar_time.h"

namespace qbrk {

class Clock {
 public:
  virtual ~Clock() = default;
  // GetTickCount: milliseconds, wrapping at 2^32.
  virtual uint32_t TickCount() = 0;
  // GetSystemTimeAsFileTime: 100 ns units since 1601-01-01 UTC.
  virtual uint64_t Now() = 0;
  // GetLocalTime.
  virtual CalendarTime LocalNow() = 0;
  // time(): seconds since 1970, the seed of the credential scrambler.
  virtual int64_t UnixSeconds() = 0;
  virtual void Sleep(uint32_t milliseconds) = 0;
};

}  // namespace qbrk
