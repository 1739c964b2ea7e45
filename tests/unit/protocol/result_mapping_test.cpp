// Every status and network failure, through every operation, becomes the right code: the
// shared maps, with 500 replaced by the operation's own code.
#include <functional>

#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/locks.h"
#include "protocol/publishing.h"
#include "protocol/quota.h"
#include "protocol/result_mapping.h"
#include "protocol/transfer.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

TEST(ResultMappingTest, StatusAndNetworkTables) {
  EXPECT_EQ(MapHttpStatus(200), 0u);
  EXPECT_EQ(MapHttpStatus(207), 0u);
  EXPECT_EQ(MapHttpStatus(299), 0u);
  EXPECT_EQ(MapHttpStatus(199), 500u);
  EXPECT_EQ(MapHttpStatus(300), 500u);
  EXPECT_EQ(MapHttpStatus(401), 75u);
  EXPECT_EQ(MapHttpStatus(404), 73u);
  EXPECT_EQ(MapHttpStatus(409), 73u);
  EXPECT_EQ(MapHttpStatus(414), 72u);
  EXPECT_EQ(MapHttpStatus(423), 77u);
  EXPECT_EQ(MapHttpStatus(503), 80u);
  EXPECT_EQ(MapHttpStatus(507), 71u);
  EXPECT_EQ(MapHttpStatus(407), 500u);
  EXPECT_EQ(MapNetworkErrorNumber(12002), 79u);
  EXPECT_EQ(MapNetworkErrorNumber(12007), 74u);
  EXPECT_EQ(MapNetworkErrorNumber(12029), 74u);
  EXPECT_EQ(MapNetworkErrorNumber(12030), 78u);
  EXPECT_EQ(MapNetworkErrorNumber(12031), 78u);
  EXPECT_EQ(MapNetworkErrorNumber(12045), 500u);
  EXPECT_EQ(MapNetworkErrorNumber(0), 500u);
}

struct Operation {
  const char* name;
  std::function<ResultCode(ServerSession&)> run;
  ResultCode own_status;      // an unmapped status
  ResultCode own_network;     // an unmapped network failure while sending
  bool maps_statuses = true;  // false: every status but the expected one is `own_status`
};

class OperationMappingTest : public testing::ProtocolTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(files_.WriteWholeFile("C:\\up\\small.txt", "hello"));
    operations_ = {
        {"list",
         [](ServerSession& s) {
           const Listing* l;
           return ListFolder(s, "/r/", &l);
         },
         53, 53},
        {"size",
         [](ServerSession& s) {
           uint64_t n;
           return QuerySize(s, "/r/a", &n);
         },
         56, 56},
        {"download", [](ServerSession& s) { return Download(s, "/r/a", "C:\\dl.txt", nullptr); },
         44, 52},
        {"upload", [](ServerSession& s) { return Upload(s, "C:\\up\\small.txt", "/r/a"); }, 43, 51},
        {"proppatch",
         [](ServerSession& s) { return SetLastModified(s, testing::kDateTime, "/r/a"); }, 45, 45},
        {"mkcol", [](ServerSession& s) { return MakeFolder(s, "/r/d/"); }, 42, 42},
        {"delete", [](ServerSession& s) { return DeleteResource(s, "/r/a"); }, 41, 41},
        {"empty", [](ServerSession& s) { return EmptyFolder(s, "/r/"); }, 47, 47},
        {"lock",
         [](ServerSession& s) {
           std::string t;
           return Lock(s, "/r/a", &t);
         },
         48, 48},
        {"unlock", [](ServerSession& s) { return Unlock(s, "/r/a", "t"); }, 49, 49},
        {"discover",
         [](ServerSession& s) {
           ActiveLock l;
           return DiscoverLock(s, "/r/a", &l);
         },
         55, 55, false},
        {"disk locks", [](ServerSession& s) { return ReleaseOwnLocksOnDisk(s, "/r/"); }, 57, 57,
         false},
        {"quota",
         [](ServerSession& s) {
           QuotaFigures q;
           return QueryQuota(s, "/r/", &q);
         },
         54, 54, false},
        {"PUBT", [](ServerSession& s) { return Publish(s, "/r/d/"); }, 111, 111},
        {"PUBF", [](ServerSession& s) { return Unpublish(s, "/r/d/"); }, 112, 112},
        {"PUBQ",
         [](ServerSession& s) {
           bool b;
           return QueryPublished(s, "/r/d/", &b);
         },
         113, 113},
        {"PTIM",
         [](ServerSession& s) {
           uint64_t t;
           return QueryPublishedSince(s, "/r/d/", &t);
         },
         114, 114},
        {"PURL",
         [](ServerSession& s) {
           std::string a;
           return QueryPublicAddress(s, "/r/d/", &a);
         },
         115, 115},
        {"PSDS", [](ServerSession& s) { return SetDisplaySetting(s, "/r/d/", {}); }, 116, 116},
        {"PGDS",
         [](ServerSession& s) {
           DisplaySetting d;
           return QueryDisplaySetting(s, "/r/d/", &d);
         },
         117, 117},
    };
  }
  std::vector<Operation> operations_;
};

TEST_F(OperationMappingTest, StatusesMapWithTheOperationsOwnCode) {
  ServerSession& session = Session();
  const std::pair<uint32_t, ResultCode> rows[] = {{401, 75}, {404, 73}, {409, 73}, {414, 72},
                                                  {503, 80}, {507, 71}, {418, 0},  {500, 0}};
  for (const Operation& op : operations_) {
    for (const auto& [status, mapped] : rows) {
      http_.Script(status);
      const ResultCode expected = !op.maps_statuses || mapped == 0 ? op.own_status : mapped;
      EXPECT_EQ(op.run(session), expected) << op.name << " status " << status;
    }
  }
}

TEST_F(OperationMappingTest, NetworkFailuresMapWithTheOperationsOwnCode) {
  ServerSession& session = Session();
  const std::pair<SysError, ResultCode> rows[] = {{12002, 79}, {12007, 74}, {12029, 74},
                                                  {12030, 78}, {12031, 78}, {12152, 0}};
  for (const Operation& op : operations_) {
    for (const auto& [error, mapped] : rows) {
      for (FailStep step : {FailStep::kOpen, FailStep::kSend}) {
        http_.ScriptFailure(step, error);
        EXPECT_EQ(op.run(session), mapped ? mapped : op.own_network)
            << op.name << " error " << error << " step " << static_cast<int>(step);
      }
    }
  }
}

TEST_F(OperationMappingTest, FileStatusKeeps500AndReportsTimeOutAsBroken) {
  ServerSession& session = Session();
  FindData item;
  http_.ScriptFailure(FailStep::kSend, 12002);
  EXPECT_EQ(FileStatus(session, "/r/a", &item), 78u);
  http_.ScriptFailure(FailStep::kSend, 12152);
  EXPECT_EQ(FileStatus(session, "/r/a", &item), 500u);
  http_.Script(418);
  EXPECT_EQ(FileStatus(session, "/r/a", &item), 500u);
  http_.Script(404);
  EXPECT_EQ(FileStatus(session, "/r/a", &item), 73u);
  http_.Script(200, "Content-Length: 5");
  EXPECT_EQ(FileStatus(session, "/r/a", &item), 500u);
  http_.Script(200, "Content-Length: 5\r\nX-Last-Modified: Tue, 05 Mar 2002 09:07:03 XYZ");
  ASSERT_EQ(FileStatus(session, "/r/dir/a%b", &item), 0u);
  EXPECT_EQ(item.name, "a%b");
  EXPECT_EQ(item.size, 5u);
  EXPECT_EQ(item.attributes, 128u);
  EXPECT_EQ(item.last_write_time, testing::kDateTime);
}

TEST_F(OperationMappingTest, StepsAfterSendingFailWithTheStepsCode) {
  ServerSession& session = Session();
  ScriptedReply write_fails;
  write_fails.fail_at = FailStep::kWrite;
  write_fails.error = 12152;
  http_.Script(write_fails);
  EXPECT_EQ(Upload(session, "C:\\up\\small.txt", "/r/a"), 51u);
  ScriptedReply end_breaks = write_fails;
  end_breaks.fail_at = FailStep::kEnd;
  end_breaks.error = 12031;
  http_.Script(end_breaks);
  EXPECT_EQ(Upload(session, "C:\\up\\small.txt", "/r/a"), 78u);
  http_.ScriptFailure(FailStep::kStatus, 12030);
  EXPECT_EQ(Upload(session, "C:\\up\\small.txt", "/r/a"), 51u);
  http_.ScriptFailure(FailStep::kStatus, 12030);
  EXPECT_EQ(Download(session, "/r/a", "C:\\dl.txt", nullptr), 52u);
  http_.ScriptFailure(FailStep::kAddHeaders, 12152);
  EXPECT_EQ(Upload(session, "C:\\up\\small.txt", "/r/a"), 51u);
  http_.ScriptFailure(FailStep::kAddHeaders, 12152);
  EXPECT_EQ(Download(session, "/r/a", "C:\\dl.txt", nullptr), 52u);
}

}  // namespace
}  // namespace qbrk
