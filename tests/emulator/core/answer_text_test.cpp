// The text of the emulator's answers: escapes, addresses, refusals, the XML elements of
// WebDAV answers and the folder page. The model of the service writes the same bytes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "emulator/core/dav_elements.h"
#include "emulator/core/folder_page.h"
#include "emulator/core/headers.h"
#include "emulator/core/live_properties.h"
#include "emulator/core/refusal.h"
#include "emulator/core/xml_text.h"
#include "protocol/service.h"

namespace qbrk::emulator {
namespace {

TEST(XmlTextTest, EscapesAndMarksWhatTheDocumentCannotCarry) {
  EXPECT_EQ(XmlEscape("a&<>\"'"), "a&amp;&lt;&gt;&quot;'");
  // "\x95\x5c" is one Shift_JIS character; 0x80 starts none; 0x01 is no XML character.
  EXPECT_EQ(XmlSafeText("\x95\x5c&\x01\x80", Charset::kShiftJis), "\x95\x5c&amp;%01%80");
  EXPECT_EQ(XmlSafeText("\xe2\x82\xac\x95\x5c\t", Charset::kUtf8), "\xe2\x82\xac%95\\\t");
  std::string appended = "<";
  AppendXmlSafeText(&appended, "plain run ", Charset::kShiftJis);
  AppendXmlSafeText(&appended, "\x95\x5c<", Charset::kShiftJis);
  EXPECT_EQ(appended, "<plain run \x95\x5c&lt;");
  EXPECT_EQ(TrimXmlSpace(" \r\n a b\t"), "a b");
  EXPECT_EQ(TrimXmlSpace(" \n"), "");
}

TEST(XmlTextTest, AddressesAreRawForShiftJisAndEscapedForUtf8) {
  EXPECT_EQ(HrefText("/~u/file/a b&\x95\x5c", Charset::kShiftJis), "/~u/file/a b&amp;\x95\x5c");
  EXPECT_EQ(HrefText("/~u/file/a b&\x95\x5c", Charset::kUtf8), "/~u/file/a%20b&amp;%95%5C");
  std::string parts = HrefText("/~u/file/", Charset::kUtf8);
  AppendHrefText(&parts, "a b", Charset::kUtf8);
  EXPECT_EQ(parts, HrefText("/~u/file/a b", Charset::kUtf8));
  EXPECT_EQ(ChosenCharset(std::nullopt), Charset::kUtf8);
  EXPECT_EQ(ChosenCharset("utf-8, Shift_JIS;q=0.5"), Charset::kShiftJis);
  EXPECT_EQ(ChosenCharset("Windows-31J"), Charset::kShiftJis);
  EXPECT_EQ(ChosenCharset("iso-8859-1"), Charset::kUtf8);
}

TEST(RefusalTest, TheTextIsTheReasonPhraseAndTheReasonOnOneLine) {
  EXPECT_EQ(RefusalText({404, "no such resource"}), "Not Found: no such resource\n");
  EXPECT_EQ(RefusalText({423, ""}), "Locked\n");
  EXPECT_EQ(RefusalText({599, "odd"}), "Unknown: odd\n");
  EXPECT_FALSE(Refusal());
  EXPECT_TRUE((Refusal{400, "x"}));
}

TEST(HeadersTest, NamesCompareWithoutCaseAndSetReplacesEveryField) {
  Headers headers;
  headers.Add("Depth", "1");
  headers.Add("depth", "0");
  EXPECT_EQ(headers.Get("DEPTH"), "1");
  headers.Set("DEPTH", "infinity");
  ASSERT_EQ(headers.fields().size(), 1u);
  EXPECT_EQ(headers.fields()[0].first, "DEPTH");
  EXPECT_FALSE(FindHeader(headers.fields(), "Dept"));
}

TEST(DavElementsTest, ElementsOfTheThreeKindsOfNamespace) {
  const QName dav{kDavNamespace, "getetag"};
  const QName vendor{kVendorNamespace, "getusedsize"};
  const QName other{"urn:x&y", "p"};
  EXPECT_EQ(EmptyElement(dav), "<D:getetag/>");
  EXPECT_EQ(EmptyElement(other), "<p xmlns=\"urn:x&amp;y\"/>");
  EXPECT_EQ(Element(vendor, "5"), "<F:getusedsize>5</F:getusedsize>");
  EXPECT_EQ(Element(other, "v"), "<p xmlns=\"urn:x&amp;y\">v</p>");
  EXPECT_EQ(PropstatXml("<D:getetag/>", 404),
            "<D:propstat><D:prop><D:getetag/></D:prop><D:status>HTTP/1.1 404 Not Found"
            "</D:status></D:propstat>");

  const std::vector<PropPatchOperation> ops{
      {false, {kDavNamespace, "getlastmodified"}, "", ""},
      {false, dav, "", ""},
      {true, other, "", ""},
  };
  EXPECT_EQ(PropPatchAnswerXml(Charset::kUtf8, "/h", ops, {424, 403, 424}),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\" "
            "xmlns:F=\"" +
                std::string(kVendorNamespace) +
                "\">\n<D:response><D:href>/h</D:href>"
                "<D:propstat><D:prop><D:getetag/></D:prop><D:status>HTTP/1.1 403 Forbidden"
                "</D:status></D:propstat>"
                "<D:propstat><D:prop><D:getlastmodified/><p xmlns=\"urn:x&amp;y\"/></D:prop>"
                "<D:status>HTTP/1.1 424 Failed Dependency</D:status></D:propstat>"
                "</D:response>\n</D:multistatus>\n");
}

TEST(DavElementsTest, LockDiscoveryReportsTheSecondsLeftRoundedUp) {
  Lock lock;
  lock.token = "opaquelocktoken:t<";
  lock.scope = LockScope::kShared;
  lock.infinite = true;
  lock.owner_xml = "taro";
  lock.expires_ms = 10500;
  const std::string active = ActiveLockXml(lock, 0, "/~u/file/d/");
  EXPECT_EQ(active,
            "<D:activelock><D:locktype><D:write/></D:locktype><D:lockscope><D:shared/>"
            "</D:lockscope><D:depth>infinity</D:depth><D:owner>taro</D:owner>"
            "<D:timeout>Second-11</D:timeout><D:locktoken><D:href>opaquelocktoken:t&lt;"
            "</D:href></D:locktoken><D:lockroot><D:href>/~u/file/d/</D:href></D:lockroot>"
            "</D:activelock>");
  EXPECT_EQ(LockDiscoveryXml(""), "<D:lockdiscovery/>");
  EXPECT_EQ(LockAnswerXml(Charset::kShiftJis, "<x/>"),
            "<?xml version=\"1.0\" encoding=\"Shift_JIS\"?>\n<D:prop xmlns:D=\"DAV:\">"
            "<D:lockdiscovery><x/></D:lockdiscovery></D:prop>\n");
}

TEST(LivePropertiesTest, WhatIsComputedAndWhatAllpropReports) {
  EXPECT_TRUE(IsLiveProperty({kDavNamespace, "creationdate"}));
  EXPECT_TRUE(IsLiveProperty({kVendorNamespace, "anything"}));
  EXPECT_FALSE(IsLiveProperty({kDavNamespace, "displayname"}));
  EXPECT_FALSE(IsLiveProperty({"urn:x", "getetag"}));
  auto locals = [](bool exists, bool is_file) {
    std::string out;
    for (const QName& name : LivePropertyNames(exists, is_file))
      out += name.local + " ";
    return out;
  };
  EXPECT_EQ(locals(false, false), "resourcetype lockdiscovery supportedlock ");
  EXPECT_EQ(locals(true, false), "resourcetype getlastmodified lockdiscovery supportedlock ");
  EXPECT_EQ(locals(true, true),
            "resourcetype getlastmodified getcontentlength getetag getcontenttype lockdiscovery "
            "supportedlock ");
  EXPECT_EQ(ContentTypeOf("dir/A.JPG"), "image/jpeg");
  EXPECT_EQ(ContentTypeOf("a.tar.gz"), "application/octet-stream");
  EXPECT_EQ(ContentTypeOf(".txt"), "application/octet-stream");  // a name, not an extension
  EXPECT_EQ(ContentTypeOf("dir.txt/b"), "application/octet-stream");
}

TEST(FolderPageTest, ListsTheEntriesWithEscapedLinks) {
  const std::vector<FolderPageEntry> entries{{"a b&", false, 3, 0},
                                             {"\x95\x5c", true, std::nullopt, -1}};
  const std::string page = FolderPageHtml("/~u/file/d<", "taro", true, entries);
  for (const char* part :
       {"<title>/~u/file/d&lt;</title>", "taro</p>", "<a href=\"../\">../</a>",
        "<a href=\"a%20b%26\">a b&amp;</a></td><td>3</td><td>Thu, 01 Jan 1970 00:00:00 GMT",
        "<a href=\"%95%5C/\">\x95\x5c/</a></td><td></td><td>Wed, 31 Dec 1969 23:59:59 GMT"}) {
    EXPECT_NE(page.find(part), std::string::npos) << part;
  }
  const std::string root = FolderPageHtml("/", "", false, {});
  EXPECT_EQ(root.find("</p>"), std::string::npos);
  EXPECT_EQ(root.find("../"), std::string::npos);
}

}  // namespace
}  // namespace qbrk::emulator
