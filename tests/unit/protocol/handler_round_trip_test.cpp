// Operations against an in-process request handler (a small store of files standing in for
// the service), end to end through the adapter of the in-memory transport.
#include <map>

#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/transfer.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

class HandlerRoundTripTest : public testing::ProtocolTest {
 protected:
  void SetUp() override {
    http_.set_handler([this](const HandlerRequest& r) { return Handle(r); });
  }

  HandlerResponse Handle(const HandlerRequest& r) {
    auto header = [&](const char* name) {
      for (const auto& [n, v] : r.headers)
        if (n == name) return v;
      return std::string();
    };
    if (header("Authorization") != "Basic dGFyb0BleGFtcGxlLmpwOnNlY3JldA==") return {401, {}, ""};
    if (r.method == "PUT") {
      std::string& stored = store_[r.path];
      const std::string range = header("Content-Range");
      if (range.empty() || range.rfind("bytes 0-", 0) == 0) stored.clear();
      stored += r.body;
      return {201, {}, ""};
    }
    if (r.method == "LOCK") return {200, {}, testing::LockGranted("opaquelocktoken:h")};
    if (r.method == "UNLOCK") return {204, {}, ""};
    if (r.method == "GET" || r.method == "HEAD") {
      auto it = store_.find(r.path);
      if (it == store_.end()) return {404, {}, ""};
      return {200,
              {{"Content-Length", std::to_string(it->second.size())},
               {"X-Last-Modified", testing::kDate}},
              r.method == "GET" ? it->second : ""};
    }
    if (r.method == "PROPFIND") {
      std::string responses = testing::DavResponse(r.path, "");
      for (const auto& [path, content] : store_)
        responses += testing::DavResponse(path, testing::FileProps(content.size()));
      return {207, {}, testing::Multistatus(responses)};
    }
    return {405, {}, ""};
  }

  std::map<std::string, std::string> store_;
};

TEST_F(HandlerRoundTripTest, RangedUploadListingAndDownload) {
  ServerSession& session = Session({1000, false, 0});
  std::string content;
  for (int i = 0; i < 2500; ++i)
    content += static_cast<char>('a' + i % 26);
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\up.bin", content));
  ASSERT_EQ(Upload(session, "C:\\m\\up.bin", "/r/up.bin"), 0u);
  EXPECT_EQ(store_["/r/up.bin"], content);

  const Listing* listing = nullptr;
  ASSERT_EQ(ListFolder(session, "/r/", &listing), 0u);
  ASSERT_NE(listing, nullptr);
  ASSERT_EQ(listing->size(), 1u);
  EXPECT_EQ((*listing)[0].size, 2500u);

  FindData item;
  ASSERT_EQ(Download(session, "/r/up.bin", "C:\\m\\down.bin", &item), 0u);
  std::string back;
  ASSERT_TRUE(files_.ReadWholeFile("C:\\m\\down.bin", &back));
  EXPECT_EQ(back, content);
  EXPECT_EQ(item.last_write_time, testing::kDateTime);
  EXPECT_EQ(FileStatus(session, "/r/none", &item), 73u);
}

}  // namespace
}  // namespace qbrk
