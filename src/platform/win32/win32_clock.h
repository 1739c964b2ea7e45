// The system clock.
#pragma once

#include "platform/clock.h"

namespace qbrk {

class Win32Clock final : public Clock {
 public:
  uint32_t TickCount() override;
  uint64_t Now() override;
  CalendarTime LocalNow() override;
  int64_t UnixSeconds() override;
  void Sleep(uint32_t milliseconds) override;
};

}  // namespace qbrk
