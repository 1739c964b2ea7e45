// The parsers of what arrives on the wire.
#include <gtest/gtest.h>

#include "emulator/core/base64.h"
#include "emulator/core/content_range.h"
#include "emulator/core/disk_path.h"
#include "emulator/core/if_header.h"
#include "emulator/core/percent_encoding.h"
#include "emulator/core/shift_jis.h"
#include "emulator/http_date.h"

namespace qbrk::emulator {
namespace {

TEST(Base64Test, DecodesCanonicalTextOnly) {
  EXPECT_EQ(DecodeBase64("dGFybzpzZWNyZXQ="), "taro:secret");
  EXPECT_EQ(DecodeBase64("YQ=="), "a");
  EXPECT_EQ(DecodeBase64(""), "");
  EXPECT_EQ(EncodeBase64("taro:secret"), "dGFybzpzZWNyZXQ=");
  for (const char* bad : {"YQ", "YQ=", "Y===", "YQ==YQ==", "Y!Q=", "=YQ=", "YQ=a"}) {
    EXPECT_FALSE(DecodeBase64(bad)) << bad;
  }
}

TEST(HttpDateTest, FormatsAndParsesTheFixedForm) {
  EXPECT_EQ(FormatHttpDate(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(ParseHttpDate("Sun, 06 Nov 1994 08:49:37 GMT"), 784111777);
  EXPECT_EQ(FormatHttpDate(4102444800), "Fri, 01 Jan 2100 00:00:00 GMT");
  // The other historic forms, wrong case, zone or weekday, and impossible dates.
  for (const char* bad : {"Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994",
                          "sun, 06 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37 UTC",
                          "Mon, 06 Nov 1994 08:49:37 GMT", "Tue, 30 Feb 1993 08:49:37 GMT",
                          "Sun, 06 Nov 1994 24:49:37 GMT", "Sun, 06 Nov 1994 08:49:3x GMT"}) {
    EXPECT_FALSE(ParseHttpDate(bad)) << bad;
  }
}

TEST(PercentEncodingTest, DecodesEscapesAndRefusesBrokenOnes) {
  EXPECT_EQ(PercentDecode("a%25b%23c%e2%82%AC"), "a%b#c\xe2\x82\xac");
  EXPECT_FALSE(PercentDecode("%"));
  EXPECT_FALSE(PercentDecode("%4"));
  EXPECT_FALSE(PercentDecode("%zz"));
  EXPECT_EQ(PercentEncode("a b/\x95\x5c~"), "a%20b/%95%5C~");
}

TEST(ContentRangeTest, AcceptsOnlyWellFormedPieces) {
  const auto range = ParseContentRange("bytes 524288-524288/524289");
  ASSERT_TRUE(range);
  EXPECT_EQ(range->first, 524288u);
  EXPECT_EQ(range->length(), 1u);
  EXPECT_EQ(ParseContentRange("bytes 0-4294967296/8589934592")->total, 8589934592u);
  for (const char* bad :
       {"bytes 5-4/10", "bytes 0-10/10", "bytes */10", "bytes 0-1/*", "bits 0-1/2", "bytes -1/2",
        "bytes 0-1/2x", "bytes 0-1", "bytes 99999999999999999999-1/2"}) {
    EXPECT_FALSE(ParseContentRange(bad)) << bad;
  }
}

TEST(IfHeaderTest, ParsesUntaggedAndTaggedLists) {
  auto untagged = ParseIfHeader("(<opaquelocktoken:a> [\"e1\"]) (Not <DAV:no-lock>)");
  ASSERT_TRUE(untagged);
  ASSERT_EQ(untagged->groups.size(), 1u);
  EXPECT_FALSE(untagged->groups[0].resource);
  ASSERT_EQ(untagged->groups[0].lists.size(), 2u);
  EXPECT_TRUE(untagged->groups[0].lists[0].conditions[1].is_etag);
  EXPECT_EQ(untagged->groups[0].lists[0].conditions[1].value, "\"e1\"");
  EXPECT_EQ(untagged->SubmittedTokens(), std::vector<std::string>{"opaquelocktoken:a"});

  auto tagged = ParseIfHeader("<http://h/a> (<t1>) <http://h/b> (<t2>)");
  ASSERT_TRUE(tagged);
  ASSERT_EQ(tagged->groups.size(), 2u);
  EXPECT_EQ(*tagged->groups[1].resource, "http://h/b");

  for (const char* bad :
       {"", "(", "()", "(<a>", "<a>", "(Not)", "(<a>) <b> (<c>)", "(a)", "(<>)"}) {
    EXPECT_FALSE(ParseIfHeader(bad)) << bad;
  }
}

TEST(IfHeaderTest, HoldsWhenOneListHoldsEntirely) {
  const ResourceState locked{{"t1"}, "\"e1\""};
  auto holds = [&](const char* value) {
    return EvaluateIfHeader(*ParseIfHeader(value), [&](const auto&) { return locked; });
  };
  EXPECT_TRUE(holds("(<t1>)"));
  EXPECT_TRUE(holds("(<t1> [\"e1\"])"));
  EXPECT_FALSE(holds("(<t1> [\"e2\"])"));
  EXPECT_FALSE(holds("(<DAV:no-lock> [\"e1\"])"));
  EXPECT_TRUE(holds("(<t1x>) (Not <DAV:no-lock>)"));
  EXPECT_FALSE(holds("(<t1> [\"e2\"]) (Not <DAV:no-lock> [\"e2\"])"));
}

TEST(DiskPathTest, SplitsTheUserAndTheNamesBelowTheDisk) {
  auto target = ParseDiskTarget("/~taro@example.jp/file/a%25b/c%23d/", true);
  ASSERT_TRUE(target.ok());
  EXPECT_EQ(target.value().user, "taro@example.jp");
  EXPECT_EQ(target.value().path.rel, "a%b/c#d");
  EXPECT_TRUE(target.value().path.trailing_slash);
  EXPECT_EQ(ParseDiskTarget("/~taro@example.jp/file", true).value().path.rel, "");
  // Servlet bodies carry raw names: a "%" stays what it is.
  EXPECT_EQ(ParseDiskTarget("/~u/file/100%", false).value().path.rel, "100%");
}

TEST(DiskPathTest, RefusesEveryWayOutOfTheDisk) {
  struct Case {
    const char* target;
    int status;
  };
  for (const Case& c : std::vector<Case>{
           {"/~u/file/../x", 403},
           {"/~u/file/a/%2e%2e/x", 403},
           {"/~u/file/a%2fb", 403},
           {"/~u/file/a%2Fb", 403},
           {"/~u/file/a%5cb", 403},
           {"/~u/file/a\\b", 403},
           {"/~u/file/a//b", 400},
           {"/~u/file/%zz", 400},
           {"/~u/file/a%00b", 400},
           {"/~u/filex/a", 404},
           {"/~u/other/a", 404},
           {"/u/file/a", 404},
           {"/~u", 404},
       }) {
    auto target = ParseDiskTarget(c.target, true);
    ASSERT_FALSE(target.ok()) << c.target;
    EXPECT_EQ(target.refusal().status, c.status) << c.target;
  }
  EXPECT_EQ(ParseDiskTarget("/~u/file/" + std::string(256, 'a'), true).refusal().status, 414);
}

TEST(DiskPathTest, ATrailByteThatLooksLikeABackslashIsPartOfItsCharacter) {
  // "表" is 0x95 0x5C in code page 932.
  auto target = ParseDiskTarget("/~u/file/%95%5c.txt", true);
  ASSERT_TRUE(target.ok());
  EXPECT_EQ(target.value().path.rel, "\x95\x5c.txt");
  EXPECT_TRUE(ContainsSingleByte("a\x95\x5c\\", '\\'));
  EXPECT_FALSE(ContainsSingleByte("a\x95\x5c", '\\'));
  EXPECT_EQ(CountShiftJisChars("\x95\x5c"
                               "a\xb1"),
            3u);
  EXPECT_EQ(ShiftJisCharLength("\x95", 0), 0u);
}

TEST(DiskPathTest, RelativePathHelpers) {
  EXPECT_EQ(ParentOf("a/b/c"), "a/b");
  EXPECT_EQ(ParentOf("a"), "");
  EXPECT_EQ(NameOf("a/b/c"), "c");
  EXPECT_TRUE(IsWithin("a/b", "a"));
  EXPECT_TRUE(IsWithin("a", ""));
  EXPECT_FALSE(IsWithin("ab", "a"));
  EXPECT_FALSE(IsCreatableName("a\nb"));
  EXPECT_TRUE(IsCreatableName("\x95\x5c"));
}

}  // namespace
}  // namespace qbrk::emulator
