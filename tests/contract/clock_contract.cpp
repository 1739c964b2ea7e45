// The clock: a tick count that moves with sleeping, a UTC time that agrees with the Unix
// seconds, and a local time whose fields are sane and within a time zone of UTC.
#include "platform/clock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "common/file_time.h"
#include "contract_param.h"
#include "platform/memory/fake_clock.h"

#ifdef _WIN32
#include "platform/win32/win32_clock.h"
#endif

namespace qbrk {
namespace {

constexpr int64_t kUnixEpochSeconds = 11644473600LL;  // 1970-01-01 in FILETIME seconds
constexpr int64_t kTicksPerMinute = 60LL * 10000000LL;

class ClockUnderTest {
 public:
  virtual ~ClockUnderTest() = default;
  virtual Clock& clock() = 0;
};

template <typename ClockType>
class Owned final : public ClockUnderTest {
 public:
  Clock& clock() override { return clock_; }

 private:
  ClockType clock_;
};

class ClockContract : public testing::TestWithParam<Implementation<ClockUnderTest>> {
 protected:
  void SetUp() override { under_test_ = GetParam().make(); }
  Clock& clock() { return under_test_->clock(); }

 private:
  std::unique_ptr<ClockUnderTest> under_test_;
};

TEST_P(ClockContract, TickCountAndNowMoveForwardWithSleep) {
  const uint32_t tick = clock().TickCount();
  const uint64_t now = clock().Now();
  clock().Sleep(50);
  const uint32_t elapsed = clock().TickCount() - tick;  // wraps like GetTickCount
  // Windows counts ticks in steps of about 16 ms.
  EXPECT_GE(elapsed, 34u);
  EXPECT_LT(elapsed, 5000u);
  const uint64_t later = clock().Now();
  ASSERT_GT(later, now);
  EXPECT_GE(later - now, 340000u);
  EXPECT_LT(later - now, 50000000u);
}

TEST_P(ClockContract, NowAgreesWithUnixSeconds) {
  const int64_t from_now =
      static_cast<int64_t>(clock().Now() / kFileTimeTicksPerSecond) - kUnixEpochSeconds;
  EXPECT_LE(std::llabs(from_now - clock().UnixSeconds()), 2);
  // Later than 2000-01-01, earlier than 2100-01-01.
  EXPECT_GT(clock().UnixSeconds(), 946684800);
  EXPECT_LT(clock().UnixSeconds(), 4102444800);
}

TEST_P(ClockContract, LocalTimeIsSaneAndWithinAZoneOfUtc) {
  const uint64_t now = clock().Now();
  const CalendarTime local = clock().LocalNow();
  EXPECT_GE(local.month, 1);
  EXPECT_LE(local.month, 12);
  EXPECT_GE(local.day, 1);
  EXPECT_LE(local.day, 31);
  EXPECT_GE(local.hour, 0);
  EXPECT_LE(local.hour, 23);
  EXPECT_GE(local.minute, 0);
  EXPECT_LE(local.minute, 59);
  EXPECT_GE(local.second, 0);
  EXPECT_LE(local.second, 59);
  EXPECT_GE(local.milliseconds, 0);
  EXPECT_LE(local.milliseconds, 999);
  uint64_t local_as_utc = 0;
  ASSERT_TRUE(CalendarToFileTime(local, &local_as_utc));
  // The calendar's own weekday agrees with the date.
  CalendarTime check;
  ASSERT_TRUE(FileTimeToCalendar(local_as_utc, &check));
  EXPECT_EQ(local.day_of_week, check.day_of_week);
  // Zones lie within 14 hours of UTC, on whole quarter hours (two seconds of slack).
  const int64_t shift = static_cast<int64_t>(local_as_utc) - static_cast<int64_t>(now);
  EXPECT_LE(std::llabs(shift), 14 * 60 * kTicksPerMinute);
  const int64_t quarter = 15 * kTicksPerMinute;
  const int64_t off_quarter = ((shift % quarter) + quarter) % quarter;
  EXPECT_TRUE(off_quarter < 2 * 10000000LL || quarter - off_quarter < 2 * 10000000LL)
      << "shift " << shift;
}

QBRK_CONTRACT_FOR(Twin, ClockContract, ClockUnderTest, Owned<FakeClock>);
#ifdef _WIN32
QBRK_CONTRACT_FOR(Win32, ClockContract, ClockUnderTest, Owned<Win32Clock>);

// <chrono> cannot be used here: its micro sign has no code page 932 form.
TEST(Win32ClockTest, NowIsTheSystemTime) {
  Win32Clock clock;
  const int64_t system_seconds = static_cast<int64_t>(std::time(nullptr));
  const int64_t now_seconds =
      static_cast<int64_t>(clock.Now() / kFileTimeTicksPerSecond) - kUnixEpochSeconds;
  EXPECT_LE(std::llabs(now_seconds - system_seconds), 2);
}
#endif

}  // namespace
}  // namespace qbrk
