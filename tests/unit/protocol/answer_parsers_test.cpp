// Readers of server answers: listings, locks, quota and the servlet's texts.
#include <gtest/gtest.h>

#include "protocol/listing_parser.h"
#include "protocol/lock_parser.h"
#include "protocol/publishing_answers.h"
#include "protocol/quota_parser.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

using testing::DavResponse;
using testing::FileProps;
using testing::Multistatus;

Listing Read(const std::string& xml, const std::string& listed = "/~t/file/d/") {
  XmlDocument doc;
  EXPECT_EQ(doc.Parse(xml), XmlError::kNone);
  Listing items;
  ReadListing(doc, listed, &items);
  return items;
}

TEST(ListingParserTest, FilesAndFoldersWithTheirFields) {
  const Listing items = Read(
      Multistatus(DavResponse("/~t/file/d/", "<D:getlastmodified>" + std::string(testing::kDate) +
                                                 "</D:getlastmodified>") +
                  "\n  \n" + DavResponse("/~t/file/d/a.txt", FileProps(5000000000ULL)) +
                  DavResponse("/~t/file/d/sub/", FileProps(7)) +
                  DavResponse("/~t/file/d/%e3%81%82", FileProps(1))));
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0].name, "a.txt");
  EXPECT_EQ(items[0].attributes, 128u);
  EXPECT_EQ(items[0].size, 5000000000ULL);
  EXPECT_EQ(items[0].last_write_time, testing::kDateTime);
  EXPECT_EQ(items[1].name, "sub");
  EXPECT_EQ(items[1].attributes, 16u);
  EXPECT_EQ(items[1].size, 0u);
  EXPECT_EQ(items[2].name, "%e3%81%82");  // as sent, never unescaped
  EXPECT_EQ(items[0].creation_time + items[0].last_access_time, 0u);
}

TEST(ListingParserTest, SkipsWhatCannotBeTakenOver) {
  const Listing items = Read(Multistatus(
      DavResponse("/~t/file/d/Upper.txt", FileProps(1)) +
      DavResponse("/~t/file/d/%E3%81", FileProps(1)) + DavResponse("/~t/file/D/", FileProps(1)) +
      DavResponse("/~t/file/d/nolength", "<D:getlastmodified>x</D:getlastmodified>") +
      DavResponse("/~t/file/d/nodate", "<D:getcontentlength>3</D:getcontentlength>") +
      DavResponse("/~t/file/d/baddate", FileProps(3, "Tue, 31 Feb 2002 09:07:03 GMT")) +
      DavResponse("/~t/file/d", FileProps(1)) +  // not the folder itself: no trailing "/"
      "<D:responsedescription>x</D:responsedescription>"));
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].name, "d");
}

TEST(ListingParserTest, UpperCaseTestIsDoubleByteAware) {
  // "ア" is 0x83 0x41: its trail byte is an 'A' but never counts.
  EXPECT_FALSE(HasSingleByteUpperAscii("/a/\x83\x41.txt"));
  EXPECT_TRUE(HasSingleByteUpperAscii("/a/\x83\x41X.txt"));
  EXPECT_TRUE(HasSingleByteUpperAscii("/Z"));
  // An illegal byte ends the scan: what follows is never looked at.
  EXPECT_FALSE(HasSingleByteUpperAscii("/a\xFFZ"));
  EXPECT_FALSE(HasSingleByteUpperAscii("/a\x80Z"));
  EXPECT_FALSE(HasSingleByteUpperAscii("/a\x83\x20Z"));  // lead byte with an invalid trail
  EXPECT_FALSE(HasSingleByteUpperAscii("/a\x83"));
}

TEST(ListingParserTest, NamesAreLastSegmentsKeptWhole) {
  EXPECT_EQ(LastSegment("/a/b/"), "b");
  EXPECT_EQ(LastSegment("/a/b"), "b");
  EXPECT_EQ(LastSegment("b"), "");
  EXPECT_EQ(LastSegment("/"), "");
  // Longer than a local name can be, with a double-byte character across byte 259: cut, it
  // would name another resource.
  std::string long_name(258, 'x');
  long_name += "\x82\xA0" + std::string(300, 'y');
  const Listing items =
      Read(Multistatus(DavResponse("/~t/file/d/" + long_name, FileProps(1)) +
                       DavResponse("/~t/file/d/" + long_name + "/", FileProps(0))));
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].name, long_name);
  EXPECT_EQ(items[1].name, long_name);
  EXPECT_EQ(items[1].attributes, 16u);
}

TEST(LockParserTest, TokenOwnerAndDiskWideLocks) {
  XmlDocument doc;
  ASSERT_EQ(doc.Parse(testing::LockGranted("opaquelocktoken:1")), XmlError::kNone);
  std::string token;
  ASSERT_TRUE(ReadLockToken(doc, &token));
  EXPECT_EQ(token, "opaquelocktoken:1");
  ASSERT_EQ(doc.Parse("<D:prop xmlns:D='DAV:'><D:lockdiscovery/></D:prop>"), XmlError::kNone);
  EXPECT_FALSE(ReadLockToken(doc, &token));

  // Unprefixed names are read the same as prefixed ones.
  ASSERT_EQ(doc.Parse("<multistatus><response><href>/x</href><propstat><prop><lockdiscovery>"
                      "<activelock><owner>me</owner><locktoken><href> t </href></locktoken>"
                      "</activelock></lockdiscovery></prop></propstat></response></multistatus>"),
            XmlError::kNone);
  const ActiveLock lock = ReadLockDiscovery(doc);
  EXPECT_EQ(lock.owner, "me");
  EXPECT_EQ(lock.token, " t ");  // kept as sent
  ASSERT_EQ(doc.Parse(Multistatus(DavResponse("/x", "<D:lockdiscovery/>"))), XmlError::kNone);
  EXPECT_EQ(ReadLockDiscovery(doc).token, "");

  ASSERT_EQ(doc.Parse(Multistatus(
                testing::DavResponse("/a", "<D:lockdiscovery/>") +
                DavResponse("/b",
                            "<D:lockdiscovery><D:activelock><D:owner>o</D:owner>"
                            "<D:locktoken><D:href>tb</D:href></D:locktoken></D:activelock>"
                            "</D:lockdiscovery>"))),
            XmlError::kNone);
  const auto locks = ReadDiskLocks(doc);
  ASSERT_EQ(locks.size(), 1u);
  EXPECT_EQ(locks[0].href, "/b");
  EXPECT_EQ(locks[0].lock.owner, "o");
  EXPECT_EQ(locks[0].lock.token, "tb");
}

TEST(QuotaParserTest, FiguresAboveFourGigabytesAndMissingOnes) {
  XmlDocument doc;
  ASSERT_EQ(
      doc.Parse(Multistatus(DavResponse("/r/",
                                        "<F:getquotasize xmlns:F='v'>10737418240</F:getquotasize>"
                                        "<F:getusedsize>\n 5368709120</F:getusedsize>"
                                        "<F:getfreesize>-1</F:getfreesize>"))),
      XmlError::kNone);
  QuotaFigures f;
  ASSERT_TRUE(ReadQuota(doc, &f));
  EXPECT_EQ(f.quota, 10737418240LL);
  EXPECT_EQ(f.used, 5368709120LL);
  EXPECT_EQ(f.free, 0);
  ASSERT_EQ(doc.Parse("<m><response/></m>"), XmlError::kNone);
  EXPECT_FALSE(ReadQuota(doc, &f));
  ASSERT_EQ(
      doc.Parse(Multistatus(DavResponse("/r/", "<getfreesize>99999999999999999999</getfreesize>"))),
      XmlError::kNone);
  ASSERT_TRUE(ReadQuota(doc, &f));
  EXPECT_EQ(f.free, INT64_MAX);
}

TEST(PublishingAnswersTest, DisplaySettingAndPublishedTest) {
  DisplaySetting s;
  ASSERT_TRUE(ReadDisplaySetting("custom\r\nTaro's page", &s));
  EXPECT_EQ(s.mode, DisplayMode::kCustom);
  EXPECT_EQ(s.name, "Taro's page");
  ASSERT_TRUE(ReadDisplaySetting("mail", &s));
  EXPECT_EQ(s.mode, DisplayMode::kMail);
  EXPECT_EQ(s.name, "");
  ASSERT_TRUE(ReadDisplaySetting("mailbox\na\nb", &s));
  EXPECT_EQ(s.name, "b");
  EXPECT_FALSE(ReadDisplaySetting("Custom\r\nx", &s));
  EXPECT_FALSE(ReadDisplaySetting("", &s));
  EXPECT_TRUE(ReadPublishedAnswer("untrue"));
  EXPECT_FALSE(ReadPublishedAnswer("TRUE"));
  EXPECT_EQ(DisplaySettingBody("/p/", {DisplayMode::kCustom, ""}), "PSDS /p/\r\ncustom\r\n");
  std::string text;
  AppendBodyPiece(std::string("ab\0cd", 5), &text);
  AppendBodyPiece("ef", &text);
  EXPECT_EQ(text, "abef");
}

}  // namespace
}  // namespace qbrk
