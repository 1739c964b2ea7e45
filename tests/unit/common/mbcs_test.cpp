#include "common/mbcs.h"

#include <gtest/gtest.h>

namespace qbrk {
namespace {

// "ソ" is 0x83 0x5C in code page 932: its trail byte is a backslash.
const std::string kSo = "\x83\x5C";
// "ア" is 0x83 0x41: its trail byte is an upper-case A.
const std::string kA = "\x83\x41";

TEST(MbcsTest, TrailBytesAreNeverSeparatorsOrLetters) {
  const std::string path = "C:\\" + kSo + "\\x" + kSo;
  EXPECT_EQ(FindLastSingleByte(path, '\\'), 5u);
  EXPECT_EQ(FindSingleByte(path, '\\', 3), 5u);
  EXPECT_FALSE(EndsWithSingleByte(path, '\\'));
  EXPECT_TRUE(EndsWithSingleByte(path + "\\", '\\'));
  EXPECT_EQ(LowerAscii("AB" + kA), "ab" + kA);
  EXPECT_EQ(UpperAscii("ab" + kA + "c"), "AB" + kA + "C");
}

TEST(MbcsTest, CaseInsensitiveEqualityKeepsDoubleByteCharactersWhole) {
  EXPECT_TRUE(EqualsIgnoringAsciiCase("Abc" + kA, "aBC" + kA));
  // 0x83 0x61 is a different character from 0x83 0x41; folding must not merge them.
  EXPECT_FALSE(EqualsIgnoringAsciiCase(kA, "\x83\x61"));
  EXPECT_FALSE(EqualsIgnoringAsciiCase("abc", "abcd"));
}

TEST(MbcsTest, ReplaceSingleByteSparesTrailBytes) {
  EXPECT_EQ(ReplaceSingleByte("a\\\x95\x5C\\b", '\\', '/'), "a/\x95\x5C/b");
  EXPECT_EQ(ReplaceSingleByte("x/y", '/', '\\'), "x\\y");
}

}  // namespace
}  // namespace qbrk
