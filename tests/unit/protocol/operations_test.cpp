// Listing, emptying a folder, quota and the publishing commands: their answers and edges.
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/publishing.h"
#include "protocol/quota.h"
#include "protocol/worker_messages.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

using testing::DavResponse;
using testing::FileProps;
using testing::Multistatus;

class OperationsTest : public testing::ProtocolTest {};

TEST_F(OperationsTest, ListingIsKeptForTheSessionsLife) {
  ServerSession& session = Session();
  http_.Script(207, "", Multistatus(DavResponse("/r/", "") + DavResponse("/r/a", FileProps(3))));
  const Listing* first = nullptr;
  const Listing* second = nullptr;
  ASSERT_EQ(ListFolder(session, "/r/", &first), 0u);
  ASSERT_NE(first, nullptr);
  ASSERT_EQ(ListFolder(session, "/r/", &second), 0u);
  EXPECT_EQ(second, first);
  EXPECT_EQ(http_.requests().size(), 1u);
  EXPECT_EQ(files_.List("C:\\TEMP").size(), 0u);  // the spooled answer is gone
}

TEST_F(OperationsTest, ListingWithoutMembersOrWithout207IsNoListing) {
  ServerSession& session = Session();
  const Listing* listing = &session.listings()["unused"];
  http_.Script(207, "", Multistatus(DavResponse("/r/", "")));
  ASSERT_EQ(ListFolder(session, "/r/", &listing), 0u);
  EXPECT_EQ(listing, nullptr);
  http_.Script(200, "", Multistatus(DavResponse("/r/a", FileProps(3))));
  ASSERT_EQ(ListFolder(session, "/r/", &listing), 0u);  // asked again: nothing was kept
  EXPECT_EQ(listing, nullptr);
  http_.Script(207, "", "<D:multistatus>");
  EXPECT_EQ(ListFolder(session, "/r/", &listing), 53u);
  EXPECT_EQ(http_.requests().size(), 3u);
}

TEST_F(OperationsTest, ListingPollsForCancellation) {
  ServerSession& session = Session();
  const Listing* listing = nullptr;
  link_.Detach();
  EXPECT_EQ(ListFolder(session, "/r/", &listing), 1u);
  EXPECT_TRUE(http_.requests().empty());
}

TEST_F(OperationsTest, ListingCancelledWhileTheAnswerArrives) {
  ServerSession& session = Session();
  std::string members;
  for (int i = 0; i < 200; ++i)
    members += DavResponse("/r/f" + std::to_string(i), FileProps(1));
  http_.Script(207, "", Multistatus(members));
  link_.DetachAfterPolls(3);
  const Listing* listing = nullptr;
  EXPECT_EQ(ListFolder(session, "/r/", &listing), 1u);
  EXPECT_EQ(listing, nullptr);
  EXPECT_EQ(files_.List("C:\\TEMP").size(), 0u);
}

TEST_F(OperationsTest, EmptyFolderStopsAtTheFirstFailureAndWhenCancelled) {
  ServerSession& session = Session();
  const std::string listing =
      Multistatus(DavResponse("/r/", "") + DavResponse("/r/a", "") + DavResponse("/r/b", ""));
  http_.Script(207, "", listing);
  http_.Script(404);
  EXPECT_EQ(EmptyFolder(session, "/r/"), 73u);
  EXPECT_EQ(http_.requests().size(), 2u);
  EXPECT_EQ(link_.count(worker_message::kStatus), 2u);  // connecting, then collecting
  EXPECT_EQ(link_.posted().back().wparam, 2u);

  http_.Script(207, "", listing);
  http_.Script(204);
  // Polled for the notice, after the answer's one block, and after the first DELETE.
  link_.DetachAfterPolls(2);
  EXPECT_EQ(EmptyFolder(session, "/r/"), 1u);
  EXPECT_EQ(http_.requests().size(), 4u);
}

TEST_F(OperationsTest, QuotaNeeds207) {
  ServerSession& session = Session();
  QuotaFigures figures;
  figures.quota = 99;
  http_.Script(200, "", "anything");
  EXPECT_EQ(QueryQuota(session, "/r/", &figures), 54u);
  EXPECT_EQ(figures.quota, 99);
  http_.Script(207, "", "<a/>");
  EXPECT_EQ(QueryQuota(session, "/r/", &figures), 54u);
  http_.Script(207, "",
               Multistatus(DavResponse("/r/",
                                       "<F:getquotasize>5000000000</F:getquotasize>"
                                       "<F:getusedsize>1</F:getusedsize>")));
  ASSERT_EQ(QueryQuota(session, "/r/", &figures), 0u);
  EXPECT_EQ(figures.quota, 5000000000LL);
  EXPECT_EQ(figures.used, 1);
  EXPECT_EQ(figures.free, 0);
  link_.Detach();
  http_.Script(207);
  EXPECT_EQ(QueryQuota(session, "/r/", &figures), 1u);
}

TEST_F(OperationsTest, PublishingAnswers) {
  ServerSession& session = Session();
  bool published = true;
  http_.Script(200, "", "false");
  ASSERT_EQ(QueryPublished(session, "/r/d/", &published), 0u);
  EXPECT_FALSE(published);
  http_.Script(204, "", "true");  // another 2xx: success, the answer is not read
  ASSERT_EQ(QueryPublished(session, "/r/d/", &published), 0u);
  EXPECT_FALSE(published);

  uint64_t since = 0;
  http_.Script(200, "", testing::kDate);
  ASSERT_EQ(QueryPublishedSince(session, "/r/d/", &since), 0u);
  EXPECT_EQ(since, testing::kDateTime);
  http_.Script(200, "", std::string(testing::kDate) + "\r\n");
  EXPECT_EQ(QueryPublishedSince(session, "/r/d/", &since), 114u);

  std::string address;
  const std::string long_address = "http://p.example.jp/" + std::string(9000, 'x') + " \r\n";
  http_.Script(200, "", long_address);
  ASSERT_EQ(QueryPublicAddress(session, "/r/d/", &address), 0u);
  EXPECT_EQ(address, long_address);

  DisplaySetting setting;
  http_.Script(200, "", "custom\r\nたろう");
  ASSERT_EQ(QueryDisplaySetting(session, "/r/d/", &setting), 0u);
  EXPECT_EQ(setting.mode, DisplayMode::kCustom);
  EXPECT_EQ(setting.name, "たろう");
  http_.Script(200, "", "other");
  EXPECT_EQ(QueryDisplaySetting(session, "/r/d/", &setting), 117u);

  http_.Script(201);
  EXPECT_EQ(Publish(session, "/r/d/"), 0u);
  http_.Script(302);
  EXPECT_EQ(Unpublish(session, "/r/d/"), 112u);
  EXPECT_EQ(http_.requests().back().path, "/pubhandle/PublicAreaHandleServlet");
}

}  // namespace
}  // namespace qbrk
