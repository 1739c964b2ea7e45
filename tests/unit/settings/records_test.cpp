#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings/lock_token_record.h"
#include "settings/suffix_list.h"

namespace qbrk {
namespace {

TEST(LockTokenRecordTest, RoundTripAndExactLayout) {
  // A path holding a double-byte character whose trail byte is a backslash.
  const LockTokenRecord record{"/~taro/file/\x83\x5C.txt", "opaquelocktoken:abc"};
  const std::vector<uint8_t> bytes = EncodeLockTokenRecord(record);
  ASSERT_EQ(bytes.size(), record.path.size() + record.token.size() + 8);
  EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 4),
            (std::vector<uint8_t>{18, 0, 0, 0}));
  LockTokenRecord back;
  ASSERT_TRUE(DecodeLockTokenRecord(bytes, &back));
  EXPECT_EQ(back.path, record.path);
  EXPECT_EQ(back.token, record.token);

  ASSERT_TRUE(DecodeLockTokenRecord(EncodeLockTokenRecord({"", ""}), &back));
  EXPECT_EQ(back.path, "");
  EXPECT_EQ(back.token, "");
}

TEST(LockTokenRecordTest, LengthsThatDoNotDescribeTheBytesAreRefused) {
  const std::vector<uint8_t> good = EncodeLockTokenRecord({"/a", "tok"});
  LockTokenRecord back{"keep", "keep"};
  for (size_t keep = 0; keep < good.size(); ++keep)
    EXPECT_FALSE(DecodeLockTokenRecord({good.begin(), good.begin() + keep}, &back)) << keep;
  std::vector<uint8_t> trailing = good;
  trailing.push_back(0);
  EXPECT_FALSE(DecodeLockTokenRecord(trailing, &back));
  // Lengths that would wrap a 32-bit sum.
  EXPECT_FALSE(DecodeLockTokenRecord({0xFF, 0xFF, 0xFF, 0xFF, 'a', 0, 0, 0, 0}, &back));
  EXPECT_FALSE(
      DecodeLockTokenRecord({0, 0, 0, 0, 0xFC, 0xFF, 0xFF, 0xFF, 'a', 'b', 'c', 'd'}, &back));
  EXPECT_EQ(back.path, "keep");
}

TEST(SuffixListTest, MatchesQuotedExtensionsIgnoringAsciiCase) {
  const std::string list = "\"$$$\"\"Tmp\"\"bak\"";
  EXPECT_TRUE(SuffixListMatches(list, "x.$$$"));
  EXPECT_TRUE(SuffixListMatches(list, "REPORT.TMP"));
  EXPECT_TRUE(SuffixListMatches(list, "a.b.Bak"));
  EXPECT_FALSE(SuffixListMatches(list, "archive.tmp.zip"));  // only the last dot counts
  EXPECT_FALSE(SuffixListMatches(list, "tmp"));              // no dot, no match
  EXPECT_FALSE(SuffixListMatches(list, "a.tm"));             // quotes make it whole
  EXPECT_FALSE(SuffixListMatches(list, "a.mp"));
  EXPECT_FALSE(SuffixListMatches("", "a.tmp"));
}

TEST(SuffixListTest, DoubleByteExtensionsAreNotCaseFolded) {
  // "ア" is 0x83 0x41; folding its trail byte would turn it into 0x83 0x61, another
  // character.
  EXPECT_TRUE(SuffixListMatches("\"\x83\x41\"", "x.\x83\x41"));
  EXPECT_FALSE(SuffixListMatches("\"\x83\x61\"", "x.\x83\x41"));
  EXPECT_FALSE(SuffixListMatches("\"\x83\x41\"", "x.\x83\x61"));
  // A trail byte equal to '.' (0x2E is never a trail byte) cannot occur, but a trail byte
  // of 0x5C must not hide the real dot before it.
  EXPECT_TRUE(SuffixListMatches("\"\x83\x5C\"", "x.\x83\x5C"));
}

}  // namespace
}  // namespace qbrk
