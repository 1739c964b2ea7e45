// The faults a simulation injects in front of the model, as our client meets them through
// the in-memory transport: the result code it reports and what the disk holds afterwards.
#include "model/model_faults.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "diag/error_log.h"
#include "platform/memory/memory_http_transport.h"
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/transfer.h"
#include "tests/unit/settings/twin_env.h"

namespace qbrk::model {
namespace {

constexpr uint64_t kT1 = 126256467060000000ULL;  // 2001-02-03 04:05:06 UTC
constexpr char kRoot[] = "/~taro@example.jp/file/";

class ModelFaultsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetLoggingLevel(0);
    http_.set_handler([this](const HandlerRequest& request) {
      const Fault fault = requests_ == fault_at_ ? fault_ : Fault{};
      ++requests_;
      return HandleWithFault(model_, request, fault);
    });
    ASSERT_TRUE(model_.PutFile("old.txt", "old", kT1));
    ASSERT_TRUE(twin_.files.WriteWholeFile("C:\\new.txt", "new content"));
  }

  void TearDown() override {
    session_.reset();
    EXPECT_EQ(http_.misuses(), 0u);
    EXPECT_EQ(http_.open_requests(), 0u);
  }

  // The fault strikes the request numbered `at` (from 0) from now on.
  void Inject(Fault fault, int at = 0) {
    fault_ = fault;
    fault_at_ = requests_ + at;
  }

  ServerSession& Session() {
    session_ = std::make_unique<ServerSession>(twin_.env, http_, nullptr, SessionOptions{});
    EXPECT_EQ(session_->OpenSession("127.0.0.1", 8080, "taro@example.jp", "secret"), 0u);
    session_->set_own_owner("taro@example.jp");
    session_->set_disk_root(kRoot);
    return *session_;
  }

  ResultCode Put(const std::string& name) { return Upload(Session(), "C:\\new.txt", kRoot + name); }

  std::optional<std::string> ServerBytes(const std::string& name) {
    const auto file = model_.GetFile(name);
    return file ? std::optional(file->bytes) : std::nullopt;
  }

  testing::TwinEnv twin_;
  MemoryHttpTransport http_;
  ModelService model_;
  std::unique_ptr<ServerSession> session_;
  Fault fault_;
  int requests_ = 0;
  int fault_at_ = -1;
};

TEST_F(ModelFaultsTest, AnInjectedStatusChangesNothing) {
  for (const auto& [status, code] :
       std::initializer_list<std::pair<uint32_t, ResultCode>>{{404, result::kNotFound},
                                                              {409, result::kNotFound},
                                                              {503, result::kServerBusy},
                                                              {507, result::kServerDiskFull}}) {
    Inject({FaultKind::kStatus, status});
    EXPECT_EQ(Put("old.txt"), code) << status;
    EXPECT_EQ(ServerBytes("old.txt"), "old");
  }
  // A 423 is met like a lock of someone else: released when it is this user's (it is not
  // anyone's here, so the next round goes through).
  Inject({FaultKind::kStatus, 423});
  EXPECT_EQ(Put("old.txt"), 0u);
  EXPECT_EQ(ServerBytes("old.txt"), "new content");
}

TEST_F(ModelFaultsTest, ACutWhileSendingLeavesTheDiskAsItWas) {
  Inject({FaultKind::kCutRequest});  // as WinINet under Wine: no answer at all
  EXPECT_EQ(Put("old.txt"), result::kUploadFailed);
  EXPECT_EQ(ServerBytes("old.txt"), "old");

  Fault reset{FaultKind::kCutRequest};
  reset.error = net_error::kConnectionReset;  // as Windows reports it
  Inject(reset);
  EXPECT_EQ(Put("new.txt"), result::kConnectionBroken);
  EXPECT_EQ(ServerBytes("new.txt"), std::nullopt);
  EXPECT_EQ(http_.requests().back().sent, true) << "the request reached the server";
}

TEST_F(ModelFaultsTest, ACutAnswerFollowsAChangeAlreadyMade) {
  Fault cut{FaultKind::kCutResponse};
  cut.keep_bytes = 2;
  Inject(cut);
  EXPECT_EQ(Download(Session(), kRoot + std::string("old.txt"), "C:\\got.txt", nullptr),
            result::kConnectionBroken);
  EXPECT_FALSE(twin_.files.Exists("C:\\got.txt")) << "a truncated file must not arrive";

  // An answer without a body is whole before the cut: the client sees the success.
  Inject(cut);
  EXPECT_EQ(MakeFolder(Session(), kRoot + std::string("made/")), 0u);
  EXPECT_TRUE(model_.List().at("made").folder);
}

TEST_F(ModelFaultsTest, ATimeOutHidesWhetherTheChangeWasMade) {
  Fault late{FaultKind::kTimeout};
  late.applied = true;
  Inject(late);
  EXPECT_EQ(Put("late.txt"), result::kTimeout);
  EXPECT_EQ(ServerBytes("late.txt"), "new content");

  Inject({FaultKind::kTimeout});
  EXPECT_EQ(Put("lost.txt"), result::kTimeout);
  EXPECT_EQ(ServerBytes("lost.txt"), std::nullopt);

  // Any request can be chosen: here the second from now.
  Inject({FaultKind::kTimeout}, 1);
  const Listing* listing = nullptr;
  EXPECT_EQ(ListFolder(Session(), kRoot, &listing), 0u);
  EXPECT_EQ(DeleteResource(Session(), kRoot + std::string("old.txt")), result::kTimeout);
  EXPECT_EQ(ServerBytes("old.txt"), "old");
}

TEST_F(ModelFaultsTest, TheTransportCanForgetItsRequests) {
  http_.set_recording(false);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(Put("n" + std::to_string(i)), 0u);
  EXPECT_TRUE(http_.requests().empty());
  EXPECT_EQ(http_.request_count(), 3u);
  EXPECT_EQ(model_.List().size(), 4u);
}

}  // namespace
}  // namespace qbrk::model
