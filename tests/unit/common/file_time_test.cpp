#include "common/file_time.h"

#include <gtest/gtest.h>

namespace qbrk {
namespace {

TEST(FileTimeTest, KnownInstantsRoundTrip) {
  // 1994-11-06 08:49:37 UTC was a Sunday.
  CalendarTime t;
  t.year = 1994, t.month = 11, t.day = 6, t.hour = 8, t.minute = 49, t.second = 37;
  uint64_t ft = 0;
  ASSERT_TRUE(CalendarToFileTime(t, &ft));
  EXPECT_EQ(ft, 124285853770000000ULL);
  CalendarTime back;
  ASSERT_TRUE(FileTimeToCalendar(ft, &back));
  EXPECT_EQ(back.year, 1994);
  EXPECT_EQ(back.month, 11);
  EXPECT_EQ(back.day, 6);
  EXPECT_EQ(back.day_of_week, 0);
  EXPECT_EQ(back.hour, 8);
  EXPECT_EQ(back.minute, 49);
  EXPECT_EQ(back.second, 37);
}

TEST(FileTimeTest, EpochLeapDaysAndLimits) {
  CalendarTime t;
  ASSERT_TRUE(FileTimeToCalendar(0, &t));
  EXPECT_EQ(t.year, 1601);
  EXPECT_EQ(t.day_of_week, 1);  // a Monday

  CalendarTime leap;
  leap.year = 2000, leap.month = 2, leap.day = 29;
  uint64_t ft = 0;
  ASSERT_TRUE(CalendarToFileTime(leap, &ft));
  ASSERT_TRUE(FileTimeToCalendar(ft + 86400ULL * kFileTimeTicksPerSecond, &t));
  EXPECT_EQ(t.month, 3);
  EXPECT_EQ(t.day, 1);

  CalendarTime bad;
  bad.year = 1900, bad.month = 2, bad.day = 29;  // 1900 was not a leap year
  EXPECT_FALSE(CalendarToFileTime(bad, &ft));
  bad.year = 2001, bad.month = 13, bad.day = 1;
  EXPECT_FALSE(CalendarToFileTime(bad, &ft));
  EXPECT_FALSE(FileTimeToCalendar(0x8000000000000000ULL, &t));
}

}  // namespace
}  // namespace qbrk
