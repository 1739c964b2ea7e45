#include "platform/memory/fake_clock.h"

#include "common/file_time.h"

namespace qbrk {

namespace {
constexpr uint64_t kTicksPerSecond = 10000000ULL;
constexpr int64_t kUnixEpochInFileTimeSeconds = 11644473600LL;
}  // namespace

CalendarTime FakeClock::LocalNow() {
  CalendarTime t;
  const int64_t shift = static_cast<int64_t>(local_offset_minutes_) * 60 * 10000000LL;
  FileTimeToCalendar(static_cast<uint64_t>(static_cast<int64_t>(now_) + shift), &t);
  return t;
}

int64_t FakeClock::UnixSeconds() {
  return static_cast<int64_t>(now_ / kTicksPerSecond) - kUnixEpochInFileTimeSeconds;
}

void FakeClock::Advance(uint32_t milliseconds) {
  tick_ += milliseconds;
  now_ += static_cast<uint64_t>(milliseconds) * 10000;
  slept_ += milliseconds;
}

}  // namespace qbrk
