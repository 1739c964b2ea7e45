// Malformed and hostile requests get a 4xx answer and the emulator carries on.
#include <gtest/gtest.h>

#include "emulator_fixture.h"

namespace qbrk::emulator::testing {
namespace {

class RobustnessTest : public EmulatorTest {
 protected:
  void TearDown() override {
    // Whatever came before, the emulator still answers.
    EXPECT_EQ(Call("HEAD", Disk()).status, 200);
    EmulatorTest::TearDown();
  }
};

TEST_F(RobustnessTest, BadXmlBodiesAreRefused) {
  Put("f", "x");
  std::string nested = "<D:propfind xmlns:D=\"DAV:\">";
  for (int i = 0; i < 100; ++i)
    nested += "<a>";
  for (int i = 0; i < 100; ++i)
    nested += "</a>";
  nested += "</D:propfind>";
  for (const std::string& body : std::vector<std::string>{
           "<foo>",
           "<D:propfind xmlns:D=\"DAV:\"><D:prop><bar:foo xmlns:bar=\"\"/></D:prop>"
           "</D:propfind>",
           "<x:propfind><x:prop/></x:propfind>", "<propfind xmlns=\"DAV:\"/>",
           "<propfind xmlns=\"DAV:\"><prop/></propfind><propfind xmlns=\"DAV:\"/>", nested,
           "\xff\xfe<\x00", "<propfind xmlns=\"DAV:\"><allprop/><propname/></propfind>"}) {
    EXPECT_EQ(Call("PROPFIND", Disk("f"), {{"Depth", "0"}}, body).status, 400) << body;
  }
  EXPECT_EQ(Call("PROPFIND", Disk("f"), {{"Depth", "0"}}, std::string(2 << 20, ' ')).status, 413);
  EXPECT_EQ(Call("PROPPATCH", Disk("f"), {}, "<D:propertyupdate xmlns:D=\"DAV:\"/>").status, 400);
  EXPECT_EQ(Call("LOCK", Disk("f"), {}, "<D:lockinfo xmlns:D=\"DAV:\"/>").status, 400);
  EXPECT_EQ(Call("LOCK", Disk("f"), {},
                 "<D:lockinfo xmlns:D=\"DAV:\"><D:lockscope><D:exclusive/></D:lockscope>"
                 "<D:locktype><D:read/></D:locktype></D:lockinfo>")
                .status,
            422);
}

TEST_F(RobustnessTest, PathsThatTryToLeaveTheDiskAreRefused) {
  Put("mine", "x");
  ASSERT_EQ(CallAs(kJiro, kJiroPassword, "PUT", Disk("secret", kJiro), {}, "jiro").status, 201);
  for (const std::string& path :
       std::vector<std::string>{Disk("../../~jiro@example.jp/file/secret"),
                                Disk("%2e%2e/%2e%2e/~jiro@example.jp/file/secret"),
                                Disk("a%2f..%2f..%2fsecret"), Disk("a%2F..%2F..%2Fsecret"),
                                Disk("..%5c..%5csecret"), Disk("..\\..\\secret"), Disk("./mine")}) {
    EXPECT_EQ(Call("GET", path).status, 403) << path;
  }
  EXPECT_EQ(Call("GET", Disk("secret", kJiro)).status, 403);
  EXPECT_EQ(Call("PUT", Disk("secret", kJiro), {}, "taro").status, 403);
  EXPECT_EQ(Call("GET", "/~jiro@example.jp/").status, 404);
  EXPECT_EQ(Call("GET", Disk("%zz")).status, 400);
  EXPECT_EQ(Call("GET", Disk("a%0")).status, 400);
  EXPECT_EQ(Call("PUT", Disk("new%0aline"), {}, "x").status, 400);
  EXPECT_EQ(Call("MKCOL", Disk("tab%09")).status, 400);
  EXPECT_EQ(Call("GET", Disk(std::string(300, 'n'))).status, 414);
  EXPECT_EQ(CallAs(kJiro, kJiroPassword, "GET", Disk("secret", kJiro)).body, "jiro");
}

TEST_F(RobustnessTest, MalformedHeadersAreRefused) {
  Put("f", "x");
  EXPECT_EQ(Call("PUT", Disk("f"), {{"If", "(<unterminated"}}, "y").status, 400);
  EXPECT_EQ(Call("PROPFIND", Disk("f"), {{"Depth", "many"}}).status, 400);
  EXPECT_EQ(Call("LOCK", Disk("f"), {{"Depth", "1"}}, "<x/>").status, 400);
  EXPECT_EQ(Call("COPY", Disk("f")).status, 400);
  EXPECT_EQ(Call("COPY", Disk("f"), {{"Destination", Disk("g")}, {"Overwrite", "maybe"}}).status,
            400);
  EXPECT_EQ(Call("PUT", Disk("f"), {{"Content-Range", "bytes=0-1/2"}}, "ab").status, 400);
  EXPECT_EQ(Call("BREW", Disk("f")).status, 405);
  EXPECT_EQ(Call("GET", Disk("f"), {{"Authorization", "Basic"}}).status, 401);
  const HttpReply huge = Call("GET", Disk("f"), {{"X-Padding", std::string(200000, 'p')}});
  EXPECT_TRUE(huge.status == 0 || (huge.status >= 400 && huge.status < 500)) << huge.status;
}

TEST_F(RobustnessTest, GarbageOnTheConnectionIsAnsweredOrDropped) {
  for (const std::string& raw : std::vector<std::string>{
           "\x01\x02\x03\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n",
           "PUT " + Disk("f") + " HTTP/1.1\r\nContent-Length: zz\r\n\r\n",
           "PUT " + Disk("f") + " HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n",
           std::string(100000, 'A') + " / HTTP/1.1\r\n\r\n"}) {
    const HttpReply reply = SendRaw(port(), raw);
    // 505 is the right answer to an HTTP version nobody speaks.
    EXPECT_TRUE(reply.status == 0 || (reply.status >= 400 && reply.status < 500) ||
                reply.status == 505)
        << reply.status << " for " << raw.substr(0, 40);
  }
}

}  // namespace
}  // namespace qbrk::emulator::testing
