#include "demo_format.h"

#include <gtest/gtest.h>

#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_string_table.h"

namespace qbrk::demo {
namespace {

TEST(DemoFormatTest, NumbersAndTimes) {
  EXPECT_EQ(GroupDigits(0), "0");
  EXPECT_EQ(GroupDigits(999), "999");
  EXPECT_EQ(GroupDigits(1000), "1,000");
  EXPECT_EQ(GroupDigits(5368709120ULL), "5,368,709,120");
  EXPECT_EQ(FormatFileTime(FakeClock::kDefaultNow), "2002-03-05 09:07:03 UTC");
  EXPECT_EQ(FormatFileTime(UINT64_MAX), "(no time)");
}

TEST(DemoFormatTest, UploadPiecesFollowTheUnit) {
  EXPECT_EQ(UploadPieces(10, 0), 1u);  // never split
  EXPECT_EQ(UploadPieces(0, 4096), 1u);
  EXPECT_EQ(UploadPieces(4096, 4096), 1u);
  EXPECT_EQ(UploadPieces(4097, 4096), 2u);
  EXPECT_EQ(UploadPieces(3 * 4096, 4096), 3u);
}

TEST(DemoFormatTest, FailuresNameTheCodeAndTheMessageOnOneLine) {
  MemoryStringTable strings;
  const std::string line = DescribeFailure(74, "", strings);
  EXPECT_EQ(line.rfind("result code 74: ", 0), 0u);
  EXPECT_GT(line.size(), 20u);  // the message itself follows
  EXPECT_EQ(line.find('\n'), std::string::npos);
  EXPECT_EQ(line.find('\r'), std::string::npos);
  EXPECT_EQ(line.find("  "), std::string::npos);
  EXPECT_EQ(DescribeFailure(1, "", strings), "result code 1: stopped");
}

}  // namespace
}  // namespace qbrk::demo
