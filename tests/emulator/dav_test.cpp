// The disk as the client sees it: authentication, the vendor headers, files and folders,
// listings and modification times.
#include <gtest/gtest.h>

#include "emulator/core/base64.h"
#include "emulator_fixture.h"
#include "protocol/service.h"

namespace qbrk::emulator::testing {
namespace {

constexpr char kListingBody[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?><propfind xmlns=\"DAV:\"><prop>"
    "<getcontentlength/><getlastmodified/></prop></propfind>";

std::string SetTimeBody(std::string_view date) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propertyupdate xmlns:D=\"DAV:\">"
         "<D:set><D:prop><D:getlastmodified>" +
         std::string(date) + "</D:getlastmodified></D:prop></D:set></D:propertyupdate>";
}

using DavTest = EmulatorTest;

TEST_F(DavTest, EveryDiskRequestNeedsTheAccountsCredentials) {
  const std::string root = Disk();
  EXPECT_EQ(SendRaw(port(), BuildRequest("HEAD", root, {}, ""), true).status, 401);
  const HttpReply wrong = CallAs(kTaro, "wrong", "PROPFIND", root);
  EXPECT_EQ(wrong.status, 401);
  EXPECT_EQ(wrong.Header("WWW-Authenticate"), "Basic realm=\"Quellanbrook\"");
  EXPECT_EQ(CallAs("nobody@example.jp", "secret", "HEAD", root).status, 401);
  // The mail address was given as Taro@Example.jp; the client lower-cases it.
  EXPECT_EQ(CallAs("TARO@example.jp", kTaroPassword, "HEAD", root).status, 200);
  // Credentials that are not base64 are a malformed request.
  EXPECT_EQ(SendRaw(port(), BuildRequest("HEAD", root, {{"Authorization", "Basic %%%"}}, ""), true)
                .status,
            400);
  // Another account's disk is out of reach even with valid credentials.
  EXPECT_EQ(Call("HEAD", Disk("", kJiro)).status, 403);
  EXPECT_EQ(CallAs(kJiro, kJiroPassword, "HEAD", Disk("", kJiro)).status, 200);
  EXPECT_EQ(Call("HEAD", "/~nobody@example.jp/file/").status, 404);
}

TEST_F(DavTest, TheDiskRootAnswersTheVersionAndThePreferredHostWhenAsked) {
  HttpReply reply = Call("HEAD", Disk(), {{kPreferredHostHeader, "*"}});
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.Header(kVersionHeader), "2.0");
  EXPECT_FALSE(reply.HasHeader(kPreferredHostHeader));

  ASSERT_EQ(Control("POST", "settings", "preferred-host=localhost\nvfs-version=2.5").status, 200);
  reply = Call("HEAD", Disk(), {{kPreferredHostHeader, "*"}});
  EXPECT_EQ(reply.Header(kPreferredHostHeader), "localhost");
  EXPECT_EQ(reply.Header(kVersionHeader), "2.5");
  EXPECT_FALSE(Call("HEAD", Disk()).HasHeader(kPreferredHostHeader));

  ASSERT_EQ(Control("POST", "settings", "vfs-version=").status, 200);
  EXPECT_FALSE(Call("HEAD", Disk()).HasHeader(kVersionHeader));
}

TEST_F(DavTest, FilesGoUpAndComeBackWithLengthAndTime) {
  const HttpReply created = Call("PUT", Disk("a.txt"), {}, "hello");
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(Call("PUT", Disk("a.txt"), {}, "hello, again").status, 204);
  const HttpReply got = Call("GET", Disk("a.txt"));
  EXPECT_EQ(got.status, 200);
  EXPECT_EQ(got.body, "hello, again");
  EXPECT_EQ(got.Header("X-Last-Modified").size(), 29u);
  const HttpReply head = Call("HEAD", Disk("a.txt"));
  EXPECT_EQ(head.Header("Content-Length"), "12");
  EXPECT_EQ(head.Header("X-Last-Modified"), got.Header("X-Last-Modified"));
  EXPECT_EQ(FileOnDisk("a.txt"), "hello, again");

  // An empty file, as the client sends it.
  EXPECT_EQ(Call("PUT", Disk("empty"), {{"Content-Length", "0"}}).status, 201);
  EXPECT_EQ(Call("HEAD", Disk("empty")).Header("Content-Length"), "0");
  EXPECT_EQ(Call("GET", Disk("missing")).status, 404);
  EXPECT_EQ(Call("GET", Disk("a.txt/")).status, 404);
}

TEST_F(DavTest, FoldersAreMadeAndDeletedWithEverythingInThem) {
  MakeFolder("docs");
  MakeFolder("docs/sub");
  Put("docs/sub/f", "12345");
  EXPECT_EQ(Call("MKCOL", Disk("docs")).status, 405);
  EXPECT_EQ(Call("MKCOL", Disk("nowhere/sub")).status, 409);
  EXPECT_EQ(Call("MKCOL", Disk("docs/sub/f")).status, 405);
  EXPECT_EQ(Call("MKCOL", Disk("withbody"), {}, "x").status, 415);
  EXPECT_EQ(Call("PUT", Disk("nowhere/f"), {}, "x").status, 409);
  EXPECT_EQ(Call("PUT", Disk("docs"), {}, "x").status, 405);

  EXPECT_NE(Control("GET", "settings").body.find("account=taro@example.jp used=5 "),
            std::string::npos);
  EXPECT_EQ(Call("DELETE", Disk("docs")).status, 204);
  EXPECT_EQ(Call("HEAD", Disk("docs/sub/f")).status, 404);
  EXPECT_EQ(Call("DELETE", Disk("docs")).status, 404);
  EXPECT_EQ(Call("DELETE", Disk()).status, 403);
  EXPECT_NE(Control("GET", "settings").body.find("account=taro@example.jp used=0 "),
            std::string::npos);
}

TEST_F(DavTest, ListingIsExactAndShowsTheTimesThatWereSet) {
  MakeFolder("docs");
  Put("docs/a.txt", "hello");
  EXPECT_EQ(Call("PROPPATCH", Disk("docs/a.txt"), {}, SetTimeBody("Mon, 07 Nov 1994 08:49:37 GMT"))
                .status,
            207);
  EXPECT_EQ(
      Call("PROPPATCH", Disk("docs"), {}, SetTimeBody("Sun, 06 Nov 1994 08:49:37 GMT")).status,
      207);
  const HttpReply listing = Call("PROPFIND", Disk("docs/"), {{"Depth", "1"}}, kListingBody);
  EXPECT_EQ(listing.status, 207);
  EXPECT_EQ(listing.Header("Content-Type"), "application/xml; charset=\"Shift_JIS\"");
  EXPECT_EQ(listing.body,
            "<?xml version=\"1.0\" encoding=\"Shift_JIS\"?>\n"
            "<D:multistatus xmlns:D=\"DAV:\" xmlns:F=\"http://www.halvorn.co.jp/xmlns/vfs/module/"
            "file/\">\n"
            "<D:response><D:href>/~taro@example.jp/file/docs/</D:href><D:propstat><D:prop>"
            "<D:getlastmodified>Sun, 06 Nov 1994 08:49:37 GMT</D:getlastmodified></D:prop>"
            "<D:status>HTTP/1.1 200 OK</D:status></D:propstat><D:propstat><D:prop>"
            "<D:getcontentlength/></D:prop><D:status>HTTP/1.1 404 Not Found</D:status>"
            "</D:propstat></D:response>\n"
            "<D:response><D:href>/~taro@example.jp/file/docs/a.txt</D:href><D:propstat>"
            "<D:prop><D:getcontentlength>5</D:getcontentlength><D:getlastmodified>Mon, 07 Nov "
            "1994 08:49:37 GMT</D:getlastmodified></D:prop><D:status>HTTP/1.1 200 OK</D:status>"
            "</D:propstat></D:response>\n"
            "</D:multistatus>\n");
  EXPECT_EQ(Call("HEAD", Disk("docs/a.txt")).Header("X-Last-Modified"),
            "Mon, 07 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(Call("GET", Disk("docs/a.txt")).Header("X-Last-Modified"),
            "Mon, 07 Nov 1994 08:49:37 GMT");
}

TEST_F(DavTest, ListingDepthsReachAsFarAsAsked) {
  MakeFolder("a");
  MakeFolder("a/b");
  Put("a/b/c.txt", "x");
  auto count = [&](const char* depth) {
    const std::string body = Call("PROPFIND", Disk("a/"), {{"Depth", depth}}, kListingBody).body;
    size_t n = 0;
    for (size_t at = body.find("<D:response>"); at != std::string::npos;
         at = body.find("<D:response>", at + 1)) {
      ++n;
    }
    return n;
  };
  EXPECT_EQ(count("0"), 1u);
  EXPECT_EQ(count("1"), 2u);
  EXPECT_EQ(count("infinity"), 3u);
  EXPECT_EQ(Call("PROPFIND", Disk("a/"), {{"Depth", "2"}}, kListingBody).status, 400);
  EXPECT_EQ(Call("PROPFIND", Disk("none/"), {{"Depth", "0"}}, kListingBody).status, 404);
}

TEST_F(DavTest, NamesTravelAsRawShiftJisBytesAndAreKeptAsSuch) {
  // "資料" in code page 932, sent unescaped the way the client sends it; "%" and "#" arrive
  // escaped.
  const std::string name = "\x8e\x91\x97\xbf";
  EXPECT_EQ(Call("PUT", Disk(name + "%2525%23.txt"), {}, "x").status, 201);
  EXPECT_EQ(FileOnDisk(name + "%25#.txt"), "x");
  const std::string raw = Call("PROPFIND", Disk(), {{"Depth", "1"}}, kListingBody).body;
  EXPECT_NE(raw.find("<D:href>/~taro@example.jp/file/" + name + "%25#.txt</D:href>"),
            std::string::npos);
  // Without "Accept-Charset: Shift_JIS" the addresses are escaped in a UTF-8 document.
  const std::string credentials = "Basic " + EncodeBase64("taro@example.jp:secret");
  const HttpReply escaped =
      SendRaw(port(), BuildRequest("PROPFIND", Disk(),
                                   {{"Depth", "1"}, {"Authorization", credentials}}, kListingBody));
  EXPECT_NE(escaped.body.find("<D:href>/~taro@example.jp/file/%8E%91%97%BF%2525%23.txt</D:href>"),
            std::string::npos);
  EXPECT_EQ(Call("GET", Disk("%8E%91%97%BF%2525%23.txt")).body, "x");
}

TEST_F(DavTest, PropPatchSetsOnlyTheTimeAndRefusesComputedProperties) {
  Put("f", "x");
  EXPECT_EQ(Call("PROPPATCH", Disk("f"), {}, SetTimeBody("Sun, 06 Nov 1994 08:49:37")).status, 400);
  EXPECT_EQ(Call("PROPPATCH", Disk("f"), {}, SetTimeBody("Mon, 06 Nov 1994 08:49:37 GMT")).status,
            400);
  const HttpReply refused =
      Call("PROPPATCH", Disk("f"), {},
           "<D:propertyupdate xmlns:D=\"DAV:\"><D:set><D:prop>"
           "<D:getlastmodified>Sun, 06 Nov 1994 08:49:37 GMT</D:getlastmodified>"
           "<D:getcontentlength>99</D:getcontentlength></D:prop></D:set></D:propertyupdate>");
  EXPECT_EQ(refused.status, 207);
  EXPECT_NE(refused.body.find("<D:getcontentlength/></D:prop><D:status>HTTP/1.1 403"),
            std::string::npos);
  EXPECT_NE(refused.body.find("<D:getlastmodified/></D:prop><D:status>HTTP/1.1 424"),
            std::string::npos);
  EXPECT_NE(Call("HEAD", Disk("f")).Header("X-Last-Modified"), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(
      Call("PROPPATCH", Disk("gone"), {}, SetTimeBody("Sun, 06 Nov 1994 08:49:37 GMT")).status,
      404);
}

TEST_F(DavTest, QuotaFiguresAreTheAccountsAndStopUploadsThatDoNotFit) {
  ASSERT_EQ(Control("POST", "settings", "quota=taro@example.jp 10").status, 200);
  Put("a", "123456");
  const std::string query =
      std::string(
          "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propfind xmlns:D=\"DAV:\">"
          "<D:prop xmlns:F=\"") +
      kVendorNamespace +
      "\"><F:getquotasize/><F:getusedsize/><F:getfreesize/></D:prop></D:propfind>";
  const HttpReply quota = Call("PROPFIND", Disk(), {{"Depth", "0"}}, query);
  EXPECT_EQ(quota.status, 207);
  EXPECT_NE(quota.body.find("<F:getquotasize>10</F:getquotasize><F:getusedsize>6</F:getusedsize>"
                            "<F:getfreesize>4</F:getfreesize>"),
            std::string::npos);
  EXPECT_EQ(Call("PUT", Disk("b"), {}, "12345").status, 507);
  EXPECT_EQ(Call("HEAD", Disk("b")).status, 404);
  // Replacing a file counts only the difference.
  EXPECT_EQ(Call("PUT", Disk("a"), {}, "1234567890").status, 204);
  EXPECT_EQ(Call("COPY", Disk("a"), {{"Destination", Disk("c")}}).status, 507);
  // Figures above 4 GB are carried whole.
  ASSERT_EQ(Control("POST", "settings", "quota=taro@example.jp 8589934592").status, 200);
  EXPECT_NE(Call("PROPFIND", Disk(), {{"Depth", "0"}}, query)
                .body.find("<F:getquotasize>8589934592</F:getquotasize>"),
            std::string::npos);
}

TEST_F(DavTest, CopyAndMoveStayInsideTheDisk) {
  MakeFolder("src");
  Put("src/f", "data");
  EXPECT_EQ(Call("COPY", Disk("src"), {{"Destination", Disk("copy")}}).status, 201);
  EXPECT_EQ(Call("GET", Disk("copy/f")).body, "data");
  EXPECT_EQ(
      Call("MOVE", Disk("copy"), {{"Destination", "http://127.0.0.1" + Disk("moved")}}).status,
      201);
  EXPECT_EQ(Call("GET", Disk("moved/f")).body, "data");
  EXPECT_EQ(Call("HEAD", Disk("copy")).status, 404);
  EXPECT_EQ(
      Call("COPY", Disk("src/f"), {{"Destination", Disk("moved/f")}, {"Overwrite", "F"}}).status,
      412);
  EXPECT_EQ(Call("MOVE", Disk("src"), {{"Destination", Disk("src/inside")}}).status, 403);
  EXPECT_EQ(Call("MOVE", Disk("src"), {{"Destination", Disk("x", kJiro)}}).status, 403);
  EXPECT_EQ(Call("MOVE", Disk("src"), {{"Destination", Disk("a/../../x")}}).status, 403);
}

}  // namespace
}  // namespace qbrk::emulator::testing
