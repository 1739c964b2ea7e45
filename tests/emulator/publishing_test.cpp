// The publishing servlet and the public pages it creates.
#include <gtest/gtest.h>

#include <ctime>

#include "emulator/core/http_date.h"
#include "emulator_fixture.h"
#include "protocol/service.h"

namespace qbrk::emulator::testing {
namespace {

class PublishingTest : public EmulatorTest {
 protected:
  HttpReply Command(std::string_view command, std::string_view rest, std::string_view more = {}) {
    return Call("POST", kDefaultPublishServlet, {},
                std::string(command) + " " + Disk(rest) + std::string(more));
  }
  // The public address without the emulator's own base, which changes with its port.
  std::string PathOf(const std::string& address) {
    return address.substr(server_->base_url().size());
  }
  HttpReply Visit(const std::string& address) {
    return SendRaw(port(), BuildRequest("GET", PathOf(address), {}, ""));
  }
};

TEST_F(PublishingTest, AFolderIsPublishedQueriedVisitedAndWithdrawn) {
  MakeFolder("photos");
  Put("photos/a.jpg", "JPEG");
  EXPECT_EQ(Command("PUBQ", "photos/").body, "false");
  const HttpReply published = Command("PUBT", "photos/");
  EXPECT_EQ(published.status, 204);
  EXPECT_EQ(published.body, "");
  EXPECT_EQ(Command("PUBQ", "photos/").body, "true");

  const HttpReply since = Command("PTIM", "photos/");
  EXPECT_EQ(since.status, 200);
  const auto when = ParseHttpDate(since.body);
  ASSERT_TRUE(when) << since.body;
  EXPECT_LE(std::abs(*when - std::time(nullptr)), 60);

  const std::string folder = Command("PURL", "photos/").body;
  ASSERT_TRUE(folder.starts_with(server_->base_url() + "/pub/")) << folder;
  EXPECT_EQ(folder.size(), server_->base_url().size() + 5 + 32 + 1);
  EXPECT_EQ(Command("PURL", "photos/a.jpg").body, folder + "a.jpg");

  const HttpReply page = Visit(folder);
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.Header("Content-Type"), "text/html; charset=Shift_JIS");
  EXPECT_NE(page.body.find("<a href=\"a.jpg\">a.jpg</a>"), std::string::npos);
  EXPECT_NE(page.body.find(kTaro), std::string::npos);
  EXPECT_EQ(Visit(folder + "a.jpg").body, "JPEG");
  EXPECT_EQ(Visit(folder + "missing.jpg").status, 404);
  EXPECT_EQ(Visit(folder + "..%2f..%2fsecret").status, 403);

  EXPECT_EQ(Command("PUBF", "photos/").status, 204);
  EXPECT_EQ(Command("PUBQ", "photos/").body, "false");
  EXPECT_EQ(Command("PTIM", "photos/").status, 409);
  EXPECT_EQ(Command("PUBF", "photos/").status, 409);
  EXPECT_EQ(Visit(folder).status, 404);
}

TEST_F(PublishingTest, EachPublicationGetsAFreshAddress) {
  MakeFolder("f");
  ASSERT_EQ(Command("PUBT", "f/").status, 204);
  const std::string first = Command("PURL", "f/").body;
  ASSERT_EQ(Command("PUBT", "f/").status, 204);
  const std::string second = Command("PURL", "f/").body;
  EXPECT_NE(first, second);
  EXPECT_EQ(Visit(first).status, 404);
  EXPECT_EQ(Visit(second).status, 200);
  // The disk root itself can be published too.
  ASSERT_EQ(Command("PUBT", "").status, 204);
  EXPECT_EQ(Visit(Command("PURL", "").body).status, 200);
}

TEST_F(PublishingTest, CommandsOnWhatDoesNotExistOrDoesNotFit) {
  Put("file.txt", "x");
  EXPECT_EQ(Command("PUBT", "nowhere/").status, 404);
  EXPECT_EQ(Command("PUBQ", "nowhere/").status, 404);
  EXPECT_EQ(Command("PURL", "nowhere/x").status, 404);
  EXPECT_EQ(Command("PUBT", "file.txt").status, 409);
  EXPECT_EQ(Command("PURL", "file.txt").status, 409);  // not in a published folder
  EXPECT_EQ(Command("PUBT", "../").status, 403);
  EXPECT_EQ(Call("POST", kDefaultPublishServlet, {}, "PUBT " + Disk("", kJiro)).status, 403);
  EXPECT_EQ(Call("POST", kDefaultPublishServlet, {}, "HELO " + Disk()).status, 400);
  EXPECT_EQ(Call("POST", kDefaultPublishServlet, {}, "PUBT").status, 400);
  EXPECT_EQ(Call("GET", kDefaultPublishServlet).status, 405);
  EXPECT_EQ(
      SendRaw(port(), BuildRequest("POST", kDefaultPublishServlet, {}, "PUBQ " + Disk())).status,
      401);
}

TEST_F(PublishingTest, TheDisplayNameIsTheAccountsAndShowsOnItsPages) {
  EXPECT_EQ(Command("PGDS", "").body, "mail");
  // "山田" in code page 932.
  const std::string name = "\x8e\x52\x93\x63 Taro";
  EXPECT_EQ(Command("PSDS", "", "\r\ncustom\r\n" + name).status, 204);
  EXPECT_EQ(Command("PGDS", "").body, "custom\r\n" + name);
  ASSERT_EQ(Command("PUBT", "").status, 204);
  EXPECT_NE(Visit(Command("PURL", "").body).body.find(name), std::string::npos);

  EXPECT_EQ(Command("PSDS", "", "\r\ncustom\r\n" + std::string(41, 'x')).status, 400);
  EXPECT_EQ(Command("PSDS", "", "\r\ncustom\r\n" + std::string(40, 'x')).status, 204);
  EXPECT_EQ(Command("PSDS", "", "\r\ncustom\r\n").status, 204);
  EXPECT_EQ(Command("PGDS", "").body, "custom\r\n");
  EXPECT_EQ(Command("PSDS", "", "\r\nnobody").status, 400);
  MakeFolder("sub");
  EXPECT_EQ(Command("PSDS", "sub/", "\r\nmail").status, 404);
  EXPECT_EQ(Command("PSDS", "", "\r\nmail").status, 204);
  EXPECT_EQ(Command("PGDS", "").body, "mail");
}

TEST_F(PublishingTest, PublicationsSurviveARestartButNotTheirFolder) {
  MakeFolder("keep");
  MakeFolder("drop");
  ASSERT_EQ(Command("PUBT", "keep/").status, 204);
  ASSERT_EQ(Command("PUBT", "drop/").status, 204);
  ASSERT_EQ(Command("PSDS", "", "\r\ncustom\r\nname").status, 204);
  const std::string address = PathOf(Command("PURL", "keep/").body);
  const std::string since = Command("PTIM", "keep/").body;
  Restart();
  EXPECT_EQ(PathOf(Command("PURL", "keep/").body), address);
  EXPECT_EQ(Command("PTIM", "keep/").body, since);
  EXPECT_EQ(Command("PGDS", "").body, "custom\r\nname");
  EXPECT_EQ(Call("DELETE", Disk("drop")).status, 204);
  MakeFolder("drop");
  EXPECT_EQ(Command("PUBQ", "drop/").body, "false");
}

}  // namespace
}  // namespace qbrk::emulator::testing
