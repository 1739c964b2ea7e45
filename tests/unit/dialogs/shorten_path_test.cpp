#include "dialogs/shorten_path.h"

#include <gtest/gtest.h>

namespace qbrk {
namespace {

// "ソ" in code page 932: its trail byte 0x5C looks like a backslash.
const std::string kSo = "\x83\x5C";

TEST(ShortenPathTest, TextThatFitsIsKeptWhole) {
  EXPECT_EQ(ShortenPath("", 44), "");
  EXPECT_EQ(ShortenPath(std::string(40, 'a'), 44), std::string(40, 'a'));
  EXPECT_EQ(ShortenPath(std::string(20, 'a') + kSo, 44), std::string(20, 'a') + kSo);
}

TEST(ShortenPathTest, LongAsciiKeepsSizeMinusFourBytesAndAddsDots) {
  EXPECT_EQ(ShortenPath(std::string(41, 'a'), 44), std::string(40, 'a') + "...");
  EXPECT_EQ(ShortenPath(std::string(200, 'b'), 10), std::string(6, 'b') + "...");
  // The result and its terminator fill the buffer at most.
  EXPECT_LE(ShortenPath(std::string(500, 'c'), 44).size() + 1, 44u);
}

TEST(ShortenPathTest, NeverSplitsADoubleByteCharacter) {
  // 39 ASCII bytes, then a character whose lead byte would be byte 40: it is dropped whole.
  const std::string straddling = std::string(39, 'a') + kSo + "tail";
  EXPECT_EQ(ShortenPath(straddling, 44), std::string(39, 'a') + "...");
  // A character ending exactly at byte 40 stays.
  const std::string ending = std::string(38, 'a') + kSo + "tail";
  EXPECT_EQ(ShortenPath(ending, 44), std::string(38, 'a') + kSo + "...");
  // Twenty double-byte characters fill the 40 bytes exactly; a trail byte 0x5C is never
  // taken for a character of its own.
  std::string wide;
  for (int i = 0; i < 25; ++i)
    wide += kSo;
  std::string expected;
  for (int i = 0; i < 20; ++i)
    expected += kSo;
  EXPECT_EQ(ShortenPath(wide, 44), expected + "...");
  // Offset by one ASCII byte, the twentieth character no longer fits.
  EXPECT_EQ(ShortenPath("x" + wide, 44), "x" + expected.substr(0, 38) + "...");
}

TEST(ShortenPathTest, TinyBuffersAndABrokenLastByteDoNotOverrun) {
  EXPECT_EQ(ShortenPath("abc", 4), "...");
  EXPECT_EQ(ShortenPath("abc", 3), "");
  EXPECT_EQ(ShortenPath("abc", 0), "");
  EXPECT_EQ(ShortenPath("", 0), "");
  // A lone lead byte at the very end counts as one byte.
  EXPECT_EQ(ShortenPath("ab\x83", 44), "ab\x83");
  EXPECT_EQ(ShortenPath("ab\x83", 6), "ab...");
}

}  // namespace
}  // namespace qbrk
