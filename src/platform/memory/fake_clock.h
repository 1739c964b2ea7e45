// A clock that moves only when told to (or when slept on).
#pragma once

#include "platform/clock.h"

namespace qbrk {

class FakeClock final : public Clock {
 public:
  // 2002-03-05 09:07:03 UTC, a Tuesday.
  static constexpr uint64_t kDefaultNow = 126597928230000000ULL;

  uint32_t TickCount() override { return tick_; }
  uint64_t Now() override { return now_; }
  CalendarTime LocalNow() override;
  int64_t UnixSeconds() override;
  void Sleep(uint32_t milliseconds) override { Advance(milliseconds); }

  // Moves the tick count and both clocks forward.
  void Advance(uint32_t milliseconds);
  void SetTick(uint32_t tick) { tick_ = tick; }
  void SetNow(uint64_t file_time) { now_ = file_time; }
  // Local time is UTC shifted by this many minutes.
  void SetLocalOffsetMinutes(int minutes) { local_offset_minutes_ = minutes; }
  uint64_t total_slept() const { return slept_; }

 private:
  uint32_t tick_ = 1000;
  uint64_t now_ = kDefaultNow;
  int local_offset_minutes_ = 0;
  uint64_t slept_ = 0;
};

}  // namespace qbrk
