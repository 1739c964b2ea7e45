// Base64, HTTP dates, leading decimals and response header lookup.
#include <gtest/gtest.h>

#include "common/file_time.h"
#include "protocol/base64.h"
#include "protocol/decimal.h"
#include "protocol/http_date.h"
#include "protocol/response_header.h"

namespace qbrk {
namespace {

TEST(Base64Test, StandardAlphabetWithPadding) {
  EXPECT_EQ(Base64Encode(""), "");
  EXPECT_EQ(Base64Encode("f"), "Zg==");
  EXPECT_EQ(Base64Encode("fo"), "Zm8=");
  EXPECT_EQ(Base64Encode("foo"), "Zm9v");
  EXPECT_EQ(Base64Encode("taro@example.jp:secret"), "dGFyb0BleGFtcGxlLmpwOnNlY3JldA==");
  EXPECT_EQ(Base64Encode(std::string("\xFB\xEF\xBE\x00", 4)), "++++AA==");
  EXPECT_EQ(Base64Encode("\xFF\xFF"), "//8=");
}

constexpr uint64_t k1994 = 124285853770000000ULL;  // 1994-11-06 08:49:37 UTC, a Sunday

TEST(HttpDateTest, FormatsAndParsesTheFixedForm) {
  std::string text;
  ASSERT_TRUE(FormatHttpDate(k1994, &text));
  EXPECT_EQ(text, "Sun, 06 Nov 1994 08:49:37 GMT");
  uint64_t back = 0;
  ASSERT_TRUE(ParseHttpDate(text, &back));
  EXPECT_EQ(back, k1994);
  // Fractions of a second are dropped on the way out.
  ASSERT_TRUE(FormatHttpDate(k1994 + 9999999, &text));
  EXPECT_EQ(text, "Sun, 06 Nov 1994 08:49:37 GMT");
  // Single-digit fields get their zero.
  ASSERT_TRUE(FormatHttpDate(126597928230000000ULL, &text));
  EXPECT_EQ(text, "Tue, 05 Mar 2002 09:07:03 GMT");
}

TEST(HttpDateTest, FormattingFailsOutsideFourDigitYears) {
  std::string text;
  CalendarTime t;
  t.year = 10000, t.month = 1, t.day = 1;
  uint64_t far = 0;
  ASSERT_TRUE(CalendarToFileTime(t, &far));
  EXPECT_FALSE(FormatHttpDate(far, &text));
  EXPECT_FALSE(FormatHttpDate(0x8000000000000000ULL, &text));
}

TEST(HttpDateTest, ParsingChecksNamesButNotSeparatorsOrZone) {
  uint64_t t = 0;
  ASSERT_TRUE(ParseHttpDate("Sun, 06 Nov 1994 08:49:37 UTC", &t));
  EXPECT_EQ(t, k1994);
  ASSERT_TRUE(ParseHttpDate("Wed,_06_Nov_1994_08_49_37_XYZ", &t));  // weekday not checked
  EXPECT_EQ(t, k1994);
  EXPECT_FALSE(ParseHttpDate("sun, 06 Nov 1994 08:49:37 GMT", &t));
  EXPECT_FALSE(ParseHttpDate("Sun, 06 nov 1994 08:49:37 GMT", &t));
  EXPECT_FALSE(ParseHttpDate("Sunday, 06-Nov-94 08:49:37 GMT", &t));
  EXPECT_FALSE(ParseHttpDate("Sun Nov  6 08:49:37 1994", &t));
  EXPECT_FALSE(ParseHttpDate("Sun, 06 Nov 1994 08:49:37 GMT ", &t));
  EXPECT_FALSE(ParseHttpDate("Sun, 30 Feb 1994 08:49:37 GMT", &t));
  EXPECT_FALSE(ParseHttpDate("Sun, 06 Nov 1994 24:00:00 GMT", &t));
  EXPECT_FALSE(ParseHttpDate("Sun,  6 Nov 1994 08:49:37 GMT", &t));  // " 6": no digits, day 0
}

TEST(LeadingDecimalTest, DigitsAtTheStartOnlyAndSaturating) {
  EXPECT_EQ(LeadingDecimal(""), 0u);
  EXPECT_EQ(LeadingDecimal("abc"), 0u);
  EXPECT_EQ(LeadingDecimal(" 12"), 0u);
  EXPECT_EQ(LeadingDecimal("4294967296x"), 4294967296u);
  EXPECT_EQ(LeadingDecimal("18446744073709551615"), UINT64_MAX);
  EXPECT_EQ(LeadingDecimal("99999999999999999999999"), UINT64_MAX);
}

TEST(ResponseHeaderTest, FirstOccurrenceCaseSensitiveTrimmed) {
  const std::string raw =
      "HTTP/1.1 200 OK\r\nContent-Length:   42 \r\nX-HV-VFS-Version:2.0\r\n"
      "x-hv-preferredhost: lower\r\nX-Last-Modified: "
      "Tue, 05 Mar 2002 09:07:03 GMT\r\n\r\n";
  std::string v;
  ASSERT_TRUE(FindResponseHeader(raw, "Content-Length", &v));
  EXPECT_EQ(v, "42");
  ASSERT_TRUE(FindResponseHeader(raw, "X-HV-VFS-Version", &v));
  EXPECT_EQ(v, "2.0");
  EXPECT_FALSE(FindResponseHeader(raw, "X-HV-PreferredHost", &v));
  EXPECT_FALSE(FindResponseHeader("HTTP/1.1 200 OK\r\nETag: 1", "ETag", &v));  // no line feed
  EXPECT_FALSE(FindResponseHeader("Name", "Name", &v));
  ASSERT_TRUE(FindResponseHeader("Empty:\r\n", "Empty", &v));
  EXPECT_EQ(v, "");
}

}  // namespace
}  // namespace qbrk
