// The exact requests of every operation, compared byte for byte with the files in golden/.
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/locks.h"
#include "protocol/publishing.h"
#include "protocol/quota.h"
#include "protocol/transfer.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

using testing::DavResponse;
using testing::FileProps;
using testing::Multistatus;

class GoldenTest : public testing::ProtocolTest {};

TEST_F(GoldenTest, ListingOfAFolderWithEscapes) {
  ServerSession& session = Session();
  http_.Script(207, "", Multistatus(DavResponse("/~t/file/50%#/a", FileProps(1))));
  const Listing* listing = nullptr;
  ASSERT_EQ(ListFolder(session, "/~t/file/50%#/", &listing), 0u);
  ExpectGolden("propfind_listing");
}

TEST_F(GoldenTest, HeadGetMkcolDeleteAndProppatch) {
  ServerSession& session = Session();
  FindData item;
  uint64_t size = 0;
  http_.Script(200, "Content-Length: 1\r\nX-Last-Modified: Tue, 05 Mar 2002 09:07:03 GMT");
  ASSERT_EQ(FileStatus(session, "/~t/file/a.txt", &item), 0u);
  http_.Script(200, "Content-Length: 1");
  ASSERT_EQ(QuerySize(session, "/~t/file/a.txt", &size), 0u);
  http_.Script(200, "", "x");
  ASSERT_EQ(Download(session, "/~t/file/a.txt", "C:\\a.txt", nullptr), 0u);
  http_.Script(201);
  ASSERT_EQ(MakeFolder(session, "/~t/file/new/"), 0u);
  http_.Script(204);
  ASSERT_EQ(DeleteResource(session, "/~t/file/old.txt"), 0u);
  http_.Script(207);
  ASSERT_EQ(SetLastModified(session, 124285853770000000ULL, "/~t/file/a.txt"), 0u);
  ExpectGolden("simple_operations");
}

TEST_F(GoldenTest, UploadsWholeEmptyAndInRanges) {
  ServerSession& session = Session({524288, false, 0});
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\empty.txt", ""));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\unit.bin", std::string(524288, 'u')));
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\big.bin", std::string(524289, 'b')));
  http_.Script(201);
  ASSERT_EQ(Upload(session, "C:\\m\\empty.txt", "/~t/file/empty.txt"), 0u);
  ExpectGolden("put_empty");

  http_.Script(201);
  ASSERT_EQ(Upload(session, "C:\\m\\unit.bin", "/~t/file/unit.bin"), 0u);
  EXPECT_EQ(http_.requests().back().body.size(), 524288u);
  EXPECT_EQ(http_.requests().back().Header("Content-Range"), "");
  const size_t after_unit = http_.requests().size();

  http_.Script(200, "", testing::LockGranted("opaquelocktoken:big"));
  http_.Script(202);
  http_.Script(201);
  http_.Script(204);
  ASSERT_EQ(Upload(session, "C:\\m\\big.bin", "/~t/file/big.bin"), 0u);
  ASSERT_EQ(http_.requests().size(), after_unit + 4);
  // Bodies are too large for the file: the file keeps the frames, the sizes are checked here.
  std::vector<SentRequest> framed(http_.requests().begin() + after_unit, http_.requests().end());
  EXPECT_EQ(framed[1].body, std::string(524288, 'b'));
  EXPECT_EQ(framed[2].body, "b");
  framed[1].body = framed[2].body = "<body>";
  const std::string actual = testing::Render(framed);
  EXPECT_EQ(actual, testing::Golden("put_ranges", actual));
}

TEST_F(GoldenTest, LockDiscoveryAndRelease) {
  ServerSession& session = Session();
  std::string token;
  ActiveLock lock;
  http_.Script(200, "", testing::LockGranted("opaquelocktoken:1"));
  ASSERT_EQ(Lock(session, "/~t/file/a.txt", &token), 0u);
  http_.Script(204);
  ASSERT_EQ(Unlock(session, "/~t/file/a.txt", token), 0u);
  http_.Script(207, "", testing::LockAnswer("/~t/file/a.txt", "", ""));
  ASSERT_EQ(DiscoverLock(session, "/~t/file/a.txt", &lock), 0u);
  http_.Script(207, "", Multistatus(""));
  ASSERT_EQ(ReleaseOwnLocksOnDisk(session, "/~t/file/"), 0u);
  ExpectGolden("locks");
}

TEST_F(GoldenTest, EmptyFolderListsThenDeletesEachMember) {
  ServerSession& session = Session();
  http_.Script(207, "",
               Multistatus(DavResponse("/~t/file/", "") + DavResponse("/~t/file/a.txt", "") +
                           DavResponse("/~t/file/sub/", "")));
  http_.Script(204);
  http_.Script(204);
  ASSERT_EQ(EmptyFolder(session, "/~t/file/"), 0u);
  ExpectGolden("empty_folder");
}

TEST_F(GoldenTest, QuotaQuery) {
  ServerSession& session = Session();
  http_.Script(207, "", Multistatus(DavResponse("/~t/file/", "")));
  QuotaFigures figures;
  ASSERT_EQ(QueryQuota(session, "/~t/file/", &figures), 0u);
  ExpectGolden("quota");
}

TEST_F(GoldenTest, PublishingCommands) {
  registry_.PutString(RegistryRoot::kCurrentUser, kSettingsKey, "PubServlet", "/pub/servlet");
  ServerSession& session = Session();
  bool published = false;
  uint64_t since = 0;
  std::string address;
  DisplaySetting setting;
  http_.Script(204);
  http_.Script(204);
  http_.Script(200, "", "true");
  http_.Script(200, "", testing::kDate);
  http_.Script(200, "", "http://pub.example.jp/x");
  http_.Script(204);
  http_.Script(204);
  http_.Script(200, "", "mail");
  const std::string folder = "/~t/file/photos/";
  ASSERT_EQ(Publish(session, folder), 0u);
  ASSERT_EQ(Unpublish(session, folder), 0u);
  ASSERT_EQ(QueryPublished(session, folder, &published), 0u);
  ASSERT_EQ(QueryPublishedSince(session, folder, &since), 0u);
  ASSERT_EQ(QueryPublicAddress(session, folder, &address), 0u);
  ASSERT_EQ(SetDisplaySetting(session, folder, {DisplayMode::kMail, ""}), 0u);
  ASSERT_EQ(SetDisplaySetting(session, folder, {DisplayMode::kCustom, "Taro"}), 0u);
  ASSERT_EQ(QueryDisplaySetting(session, folder, &setting), 0u);
  ExpectGolden("publishing");
}

}  // namespace
}  // namespace qbrk
