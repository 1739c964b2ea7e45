// The service driven in-process, without sockets, as protocol tests may drive it.
#include "emulator/service.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "emulator/core/base64.h"
#include "protocol/service.h"

namespace qbrk::emulator {
namespace {

class ServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/qbrk-emulator-service-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    config_.data_dir = pattern;
    config_.accounts = {{"taro@example.jp", "secret"}};
  }
  void TearDown() override {
    service_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(config_.data_dir, ignored);
  }
  BufferedResponse Handle(std::string method, std::string target, std::string_view body = {}) {
    return service_->Handle(std::move(method), std::move(target),
                            {{"Authorization", "Basic " + EncodeBase64("taro@example.jp:secret")},
                             {"Accept-Charset", "Shift_JIS"}},
                            body);
  }

  EmulatorConfig config_;
  std::unique_ptr<Service> service_;
};

TEST_F(ServiceTest, HandlesWholeRequestsInProcess) {
  std::string error;
  service_ = Service::Create(config_, &error);
  ASSERT_TRUE(service_) << error;
  EXPECT_EQ(Handle("PUT", "/~taro@example.jp/file/a.txt", "hello").status, 201);
  const BufferedResponse got = Handle("GET", "/~taro@example.jp/file/a.txt");
  EXPECT_EQ(got.status, 200);
  EXPECT_EQ(got.body, "hello");
  EXPECT_EQ(got.Header("Content-Length"), "5");
  EXPECT_EQ(got.Header(kVersionHeader), "2.0");
  const BufferedResponse head = Handle("HEAD", "/~taro@example.jp/file/a.txt");
  EXPECT_EQ(head.body, "");
  EXPECT_EQ(head.Header("Content-Length"), "5");

  // Fault rules apply in-process too; a cut shows as a dropped connection.
  ASSERT_EQ(service_
                ->Handle("POST", "/_emulator/faults", {},
                         "GET /~taro@example.jp/file/a.txt cut-response=2 times=1")
                .status,
            404);  // the control endpoint is off
  service_.reset();
  config_.control = true;
  service_ = Service::Create(config_, &error);
  ASSERT_EQ(service_
                ->Handle("POST", "/_emulator/faults", {},
                         "GET /~taro@example.jp/file/a.txt cut-response=2 times=1")
                .status,
            200);
  const BufferedResponse cut = Handle("GET", "/~taro@example.jp/file/a.txt");
  EXPECT_TRUE(cut.connection_cut);
  EXPECT_EQ(cut.body, "he");
}

TEST_F(ServiceTest, StartingNeedsADataFolderAndAnAccount) {
  std::string error;
  EmulatorConfig no_account = config_;
  no_account.accounts.clear();
  EXPECT_FALSE(Service::Create(no_account, &error));
  EXPECT_EQ(error, "no account given");
  EmulatorConfig twice = config_;
  twice.accounts.push_back({"TARO@example.jp", "x"});
  EXPECT_FALSE(Service::Create(twice, &error));
  EXPECT_EQ(error, "account given twice: TARO@example.jp");
}

TEST_F(ServiceTest, AnUnreadableStateFileIsSetAsideNotFatal) {
  std::filesystem::create_directories(config_.data_dir + "/.state");
  std::ofstream(config_.data_dir + "/.state/publications.xml") << "<publishing><account";
  std::string error;
  service_ = Service::Create(config_, &error);
  ASSERT_TRUE(service_) << error;
  ASSERT_EQ(service_->warnings().size(), 1u);
  EXPECT_TRUE(std::filesystem::exists(config_.data_dir + "/.state/publications.xml.bad"));
  EXPECT_EQ(Handle("POST", kDefaultPublishServlet, "PUBQ /~taro@example.jp/file/").body, "false");
}

}  // namespace
}  // namespace qbrk::emulator
