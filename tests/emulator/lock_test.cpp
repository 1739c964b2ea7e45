// Write locks as the client takes, discovers and releases them.
#include <gtest/gtest.h>

#include "emulator_fixture.h"

namespace qbrk::emulator::testing {
namespace {

constexpr char kDiscoveryBody[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?><propfind xmlns=\"DAV:\"><prop><lockdiscovery>"
    "<activelock><owner/><locktoken><href/></locktoken></activelock></lockdiscovery></prop>"
    "</propfind>";

class LockTest : public EmulatorTest {
 protected:
  // Owner and token of the first active lock that discovery reports on the path.
  std::pair<std::string, std::string> Discover(std::string_view rest) {
    const HttpReply reply = Call("PROPFIND", Disk(rest), {{"Depth", "0"}}, kDiscoveryBody);
    EXPECT_EQ(reply.status, 207) << rest;
    return {Between(reply.body, "<D:owner>", "</D:owner>"),
            Between(reply.body, "<D:locktoken><D:href>", "</D:href>")};
  }
  static HeaderList If(const std::string& token) { return {{"If", "(<" + token + ">)"}}; }
};

TEST_F(LockTest, TheServerNamesTheOwnerAndOnlyTheTokenMayWrite) {
  Put("f.txt", "old");
  const HttpReply locked =
      Call("LOCK", Disk("f.txt"), {{"Timeout", "Second-21600"}, {"Depth", "0"}},
           "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:lockinfo xmlns:D=\"DAV:\">"
           "<D:lockscope><D:exclusive/></D:lockscope><D:locktype><D:write/></D:locktype>"
           "</D:lockinfo>");
  ASSERT_EQ(locked.status, 200);
  const std::string token = Between(locked.body, "<D:locktoken><D:href>", "</D:href>");
  EXPECT_TRUE(token.starts_with("opaquelocktoken:")) << token;
  EXPECT_EQ(locked.Header("Lock-Token"), "<" + token + ">");
  EXPECT_EQ(Between(locked.body, "<D:timeout>", "</D:timeout>"), "Second-21600");
  EXPECT_EQ(Between(locked.body, "<D:depth>", "</D:depth>"), "0");
  EXPECT_EQ(Discover("f.txt"), std::make_pair(std::string(kTaro), token));

  EXPECT_EQ(Call("PUT", Disk("f.txt"), {}, "new").status, 423);
  EXPECT_EQ(Call("DELETE", Disk("f.txt")).status, 423);
  EXPECT_EQ(Call("MOVE", Disk("f.txt"), {{"Destination", Disk("g.txt")}}).status, 423);
  EXPECT_EQ(Call("PUT", Disk("f.txt"), If("opaquelocktoken:other"), "new").status, 412);
  EXPECT_EQ(LockRequest("f.txt").status, 423);
  EXPECT_EQ(FileOnDisk("f.txt"), "old");
  EXPECT_EQ(Call("PUT", Disk("f.txt"), If(token), "new").status, 204);

  EXPECT_EQ(Call("UNLOCK", Disk("f.txt"), {{"Lock-Token", token}}).status, 400);
  EXPECT_EQ(Call("UNLOCK", Disk("f.txt"), {{"Lock-Token", "<" + token + ">"}}).status, 204);
  // A lock that is gone answers 412, which the client counts as released.
  EXPECT_EQ(Call("UNLOCK", Disk("f.txt"), {{"Lock-Token", "<" + token + ">"}}).status, 412);
  EXPECT_EQ(Call("DELETE", Disk("f.txt")).status, 204);
}

TEST_F(LockTest, LocksRunOutAfterTheirTimeout) {
  Put("f", "x");
  const std::string token = Lock("f", 60);
  ASSERT_FALSE(token.empty());
  ASSERT_EQ(Control("POST", "clock", "advance=59").status, 200);
  EXPECT_EQ(Discover("f").second, token);
  EXPECT_EQ(Call("PUT", Disk("f"), {}, "y").status, 423);
  ASSERT_EQ(Control("POST", "clock", "advance=2").status, 200);
  EXPECT_EQ(Discover("f").second, "");
  EXPECT_EQ(Call("PUT", Disk("f"), {}, "y").status, 204);
  EXPECT_EQ(Call("UNLOCK", Disk("f"), {{"Lock-Token", "<" + token + ">"}}).status, 412);
  // A refresh extends a lock; the longest lock is capped.
  const std::string again = Lock("f", 60);
  ASSERT_EQ(Control("POST", "clock", "advance=50").status, 200);
  EXPECT_EQ(
      Call("LOCK", Disk("f"), {{"Timeout", "Second-99999999"}, {"If", "(<" + again + ">)"}}).status,
      200);
  EXPECT_NE(Control("GET", "locks").body.find(" 604800\n"), std::string::npos);
}

TEST_F(LockTest, LockingANewNameReservesItUntilTheFileArrives) {
  const std::string token = Lock("new.bin");
  ASSERT_FALSE(token.empty());
  EXPECT_EQ(Call("HEAD", Disk("new.bin")).status, 404);
  EXPECT_EQ(FileOnDisk("new.bin"), "<missing>");
  // Discovery finds it, so that a client that died can release it next time.
  EXPECT_EQ(Discover("new.bin").second, token);
  const HttpReply disk = Call("PROPFIND", Disk(), {{"Depth", "infinity"}}, kDiscoveryBody);
  EXPECT_NE(disk.body.find("<D:href>/~taro@example.jp/file/new.bin</D:href>"), std::string::npos);
  EXPECT_EQ(Call("PUT", Disk("new.bin"), {}, "x").status, 423);
  EXPECT_EQ(Call("LOCK", Disk("nowhere/new.bin"), {{"Timeout", "Second-60"}},
                 "<D:lockinfo xmlns:D=\"DAV:\"><D:lockscope><D:exclusive/></D:lockscope>"
                 "<D:locktype><D:write/></D:locktype></D:lockinfo>")
                .status,
            409);
  EXPECT_EQ(Call("UNLOCK", Disk("new.bin"), {{"Lock-Token", "<" + token + ">"}}).status, 204);
  EXPECT_EQ(Call("PROPFIND", Disk("new.bin"), {{"Depth", "0"}}, kDiscoveryBody).status, 404);
}

TEST_F(LockTest, ALockHeldBySomeoneElseKeepsTheClientOut) {
  Put("shared.doc", "x");
  const HttpReply held = Control("POST", "locks", Disk("shared.doc") + " owner=hanako@example.jp");
  ASSERT_EQ(held.status, 200);
  const std::string token = held.body.substr(0, held.body.size() - 1);
  EXPECT_EQ(Discover("shared.doc"), std::make_pair(std::string("hanako@example.jp"), token));
  EXPECT_EQ(Call("PUT", Disk("shared.doc"), {}, "y").status, 423);
  EXPECT_EQ(LockRequest("shared.doc").status, 423);
  ASSERT_EQ(Control("DELETE", "locks").status, 200);
  EXPECT_EQ(Call("PUT", Disk("shared.doc"), {}, "y").status, 204);
}

TEST_F(LockTest, AFolderLockedToDepthInfinityGuardsEverythingInside) {
  MakeFolder("dir");
  const HttpReply locked =
      Call("LOCK", Disk("dir/"), {{"Depth", "infinity"}},
           "<D:lockinfo xmlns:D=\"DAV:\"><D:lockscope><D:exclusive/></D:lockscope>"
           "<D:locktype><D:write/></D:locktype><D:owner>me</D:owner></D:lockinfo>");
  ASSERT_EQ(locked.status, 200);
  const std::string token = Between(locked.body, "<D:locktoken><D:href>", "</D:href>");
  EXPECT_EQ(Between(locked.body, "<D:owner>", "</D:owner>"), "me");
  EXPECT_EQ(Call("PUT", Disk("dir/f"), {}, "x").status, 423);
  EXPECT_EQ(Call("PUT", Disk("dir/f"), If(token), "x").status, 201);
  EXPECT_EQ(Discover("dir/f").second, token);
  // The lock can be released through any resource it covers.
  EXPECT_EQ(Call("UNLOCK", Disk("dir/f"), {{"Lock-Token", "<" + token + ">"}}).status, 204);
  EXPECT_EQ(Call("DELETE", Disk("dir")).status, 204);
}

}  // namespace
}  // namespace qbrk::emulator::testing
