// The parsers of what arrives on the wire.
#include <gtest/gtest.h>

#include "emulator/core/base64.h"
#include "emulator/core/content_range.h"
#include "emulator/core/credentials.h"
#include "emulator/core/dav_headers.h"
#include "emulator/core/disk_path.h"
#include "emulator/core/faults.h"
#include "emulator/core/http_date.h"
#include "emulator/core/if_header.h"
#include "emulator/core/percent_encoding.h"
#include "emulator/core/shift_jis.h"

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

TEST(HttpDateTest, CountsTheCalendarItselfBeyondWhatA32BitClockHolds) {
  EXPECT_EQ(FormatHttpDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
  EXPECT_EQ(FormatHttpDate(-1), "Wed, 31 Dec 1969 23:59:59 GMT");
  EXPECT_EQ(FormatHttpDate(int64_t{1} << 31), "Tue, 19 Jan 2038 03:14:08 GMT");
  EXPECT_EQ(FormatHttpDate(-11644473600), "Mon, 01 Jan 1601 00:00:00 GMT");
  EXPECT_EQ(FormatHttpDate(253402300799), "Fri, 31 Dec 9999 23:59:59 GMT");
  EXPECT_EQ(FormatHttpDate(253402300800), "");  // year 10000 has no such form
  for (const int64_t when : {int64_t{-11644473600}, int64_t{-1}, int64_t{0}, int64_t{951782400},
                             int64_t{1} << 31, int64_t{253402300799}}) {
    EXPECT_EQ(ParseHttpDate(FormatHttpDate(when)), when) << when;
  }
  EXPECT_EQ(ParseHttpDate("Tue, 29 Feb 2000 00:00:00 GMT"), 951782400);
  EXPECT_FALSE(ParseHttpDate("Thu, 29 Feb 1900 00:00:00 GMT"));  // not a leap year
  EXPECT_FALSE(ParseHttpDate("Tue, 31 Apr 2024 00:00:00 GMT"));
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

TEST(ContentRangeTest, APutDeclaresALengthOrAPieceThatAgree) {
  const auto piece = ParsePutDeclaration("3", "bytes 4-6/10");
  ASSERT_TRUE(piece.ok());
  EXPECT_EQ(piece.value().range->first, 4u);
  EXPECT_EQ(piece.value().FileSize(), 10u);
  EXPECT_EQ(ParsePutDeclaration("7", std::nullopt).value().FileSize(), 7u);
  EXPECT_EQ(ParsePutDeclaration(std::nullopt, std::nullopt).value().FileSize(), std::nullopt);
  EXPECT_EQ(ParsePutDeclaration(std::nullopt, "bytes 0-0/1").value().FileSize(), 1u);
  for (const auto& [length, range] : std::vector<std::pair<const char*, const char*>>{
           {"x", nullptr}, {"-1", nullptr}, {nullptr, "bytes 1-0/2"}, {"2", "bytes 4-6/10"}}) {
    auto opt = [](const char* v) { return v ? std::optional<std::string_view>(v) : std::nullopt; };
    const auto refused = ParsePutDeclaration(opt(length), opt(range));
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.refusal().status, 400);
  }
}

TEST(CredentialsTest, TakesBasicCredentialsApartOrSaysWhy) {
  const auto ok = ParseBasicCredentials("basic  dGFybzpzZWM6cmV0");
  ASSERT_TRUE(ok.ok());
  EXPECT_EQ(ok.value().user, "taro");
  EXPECT_EQ(ok.value().password, "sec:ret");  // the first colon ends the user
  struct Case {
    std::optional<std::string_view> header;
    int status;
  };
  for (const Case& c : std::vector<Case>{{std::nullopt, 401},
                                         {"Digest dGFybzpzZWNyZXQ=", 401},
                                         {"Basic", 401},
                                         {"Basic dGFybzpzZWNyZXQ", 400},
                                         {"Basic dGFyb3NlY3JldA==", 400}}) {
    const auto refused = ParseBasicCredentials(c.header);
    ASSERT_FALSE(refused.ok()) << c.header.value_or("(none)");
    EXPECT_EQ(refused.refusal().status, c.status) << c.header.value_or("(none)");
  }
}

TEST(DavHeadersTest, DepthTimeoutAndLockToken) {
  EXPECT_EQ(ParseDepth(std::nullopt, -1), -1);
  EXPECT_EQ(ParseDepth("0", -1), 0);
  EXPECT_EQ(ParseDepth("Infinity", 0), -1);
  EXPECT_FALSE(ParseDepth("2", 0));

  EXPECT_EQ(GrantedLockSeconds(std::nullopt, 604800), kDefaultLockSeconds);
  EXPECT_EQ(GrantedLockSeconds(std::nullopt, 60), 60);
  EXPECT_EQ(GrantedLockSeconds("Second-120", 604800), 120);
  EXPECT_EQ(GrantedLockSeconds("Second-9999999", 604800), 604800);
  EXPECT_EQ(GrantedLockSeconds("infinite", 604800), 604800);
  // The first usable choice of a list; unusable ones are passed over.
  EXPECT_EQ(GrantedLockSeconds("Second-0, Second-x, second-30, Infinite", 604800), 30);
  EXPECT_EQ(GrantedLockSeconds("Second-", 604800), kDefaultLockSeconds);

  EXPECT_EQ(ParseLockTokenHeader("<opaquelocktoken:a>"), "opaquelocktoken:a");
  for (const char* bad : {"opaquelocktoken:a", "<>", "<a", "a>"}) {
    EXPECT_FALSE(ParseLockTokenHeader(bad)) << bad;
  }
  EXPECT_FALSE(ParseLockTokenHeader(std::nullopt));
}

TEST(FaultRuleTest, ReadsRulesAndMatchesMethodsAndPaths) {
  const auto rule = ParseFaultRule("PUT /~u/file/dir/* status=503 times=2 version=");
  ASSERT_TRUE(rule.ok());
  EXPECT_TRUE(rule.value().Matches("PUT", "/~u/file/dir/a b"));
  EXPECT_FALSE(rule.value().Matches("GET", "/~u/file/dir/a"));
  EXPECT_FALSE(rule.value().Matches("PUT", "/~u/file/dirx"));
  EXPECT_EQ(rule.value().ToText(), "PUT /~u/file/dir/* status=503 version= times=2");
  for (const char* bad : {"PUT", "PUT x", "PUT /x status=99", "PUT /x delay=600001", "PUT /x a",
                          "PUT /x cut-request=-1"}) {
    EXPECT_FALSE(ParseFaultRule(bad).ok()) << bad;
  }
  FaultTable table;
  table.Add(rule.value());
  EXPECT_TRUE(table.Take("PUT", "/~u/file/dir/a"));
  EXPECT_TRUE(table.Take("PUT", "/~u/file/dir/a"));
  EXPECT_FALSE(table.Take("PUT", "/~u/file/dir/a"));  // fired twice: gone
  EXPECT_EQ(table.ToText(), "");
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
  // Destination and If headers may name a resource by its absolute address.
  EXPECT_EQ(AddressPath("http://127.0.0.1:8080/~u/file/a"), "/~u/file/a");
  EXPECT_EQ(AddressPath("https://h"), "/");
  EXPECT_EQ(AddressPath("/~u/file/a"), "/~u/file/a");
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
