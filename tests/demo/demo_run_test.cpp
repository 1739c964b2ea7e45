// The demonstration against the emulator in process, through the in-memory transport.
#include "demo_run.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "demo_settings.h"
#include "diag/error_log.h"
#include "emulator/service.h"
#include "platform/memory/memory_http_transport.h"
#include "platform/memory/scripted_dial_up.h"
#include "settings/settings.h"
#include "tests/unit/settings/twin_env.h"

namespace qbrk::demo {
namespace {

namespace fs = std::filesystem;

constexpr char kMirror[] = "C:\\mirror";
constexpr char kBaseUrl[] = "http://127.0.0.1:8080";
constexpr uint32_t kUnit = 4096;
constexpr uint64_t kBigSize = kUnit + 100;                   // just over the unit: two ranges
constexpr uint64_t kTwoThousandOne = 126227808000000000ULL;  // 2001-01-01 00:00:00 UTC

class DemoRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetLoggingLevel(0);
    char dir[] = "/tmp/qbrk-demo-test-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    data_ = dir;
    StartEmulator({});
    http_.set_handler([this](const HandlerRequest& r) {
      emulator::BufferedResponse answer = service_->Handle(r.method, r.path, r.headers, r.body);
      return HandlerResponse{static_cast<uint32_t>(answer.status), answer.headers, answer.body};
    });

    DemoSettings demo{"127.0.0.1", 8080, "taro@example.jp", "secret", kMirror};
    std::string failed;
    ASSERT_TRUE(WriteDemoSettings(twin_.registry, clock_, demo, &failed)) << failed;
    ASSERT_TRUE(settings_.WriteDword("PutUnit", kUnit));

    clock_.SetNow(kTwoThousandOne);
    big_.resize(kBigSize);
    for (size_t i = 0; i < big_.size(); ++i)
      big_[i] = static_cast<char>(i * 7 % 251);
    ASSERT_TRUE(files_.WriteWholeFile(std::string(kMirror) + "\\大きな図面.bin", big_));
    clock_.SetNow(FakeClock::kDefaultNow);
    ASSERT_TRUE(files_.WriteWholeFile(std::string(kMirror) + "\\報告書.txt", "月次報告\r\n"));
    ASSERT_TRUE(files_.WriteWholeFile(std::string(kMirror) + "\\readme.txt", "hello\n"));

    plan_.folder_name = "デモ資料";
    plan_.display = {DisplayMode::kCustom, "クエラン太郎"};
  }

  void TearDown() override {
    service_.reset();
    fs::remove_all(data_);
    EXPECT_EQ(http_.misuses(), 0u);
    EXPECT_EQ(http_.open_requests(), 0u);
  }

  void StartEmulator(std::vector<std::string> faults) {
    emulator::EmulatorConfig config;
    config.data_dir = data_;
    config.accounts = {{"taro@example.jp", "secret"}};
    config.faults = std::move(faults);
    std::string error;
    service_ = emulator::Service::Create(config, &error);
    ASSERT_NE(service_, nullptr) << error;
    service_->SetBaseUrl(kBaseUrl);
  }

  DemoOutcome Run() {
    lines_.clear();
    return RunDemo(twin_.env, NetPlatform{http_, dial_up_}, plan_,
                   [this](const std::string& line) { lines_.push_back(line); });
  }

  std::string Output() const {
    std::string text;
    for (const std::string& line : lines_)
      text += line + "\n";
    return text;
  }

  // A file of the account's disk as the emulator keeps it.
  std::string ServerFile(const std::string& name) const {
    std::ifstream in(data_ + "/accounts/taro@example.jp/" + plan_.folder_name + "/" + name,
                     std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  // The public page, fetched without credentials.
  emulator::BufferedResponse PublicPage(const std::string& address) {
    return service_->Handle("GET", address.substr(std::string(kBaseUrl).size()), {}, {});
  }

  std::string data_;
  std::unique_ptr<emulator::Service> service_;
  testing::TwinEnv twin_;
  FakeClock& clock_ = twin_.clock;
  MemoryFileSystem& files_ = twin_.files;
  Settings settings_{twin_.registry};
  MemoryHttpTransport http_;
  ScriptedDialUp dial_up_;
  DemoPlan plan_;
  std::string big_;
  std::vector<std::string> lines_;
};

TEST_F(DemoRunTest, PutsTheMirrorOnTheDiskAndPublishesIt) {
  const DemoOutcome outcome = Run();
  ASSERT_TRUE(outcome.ok) << Output();

  // The files arrived whole, the large one through ranges, with the local times.
  EXPECT_EQ(ServerFile("大きな図面.bin"), big_);
  EXPECT_EQ(ServerFile("報告書.txt"), "月次報告\r\n");
  EXPECT_EQ(ServerFile("readme.txt"), "hello\n");
  const std::string out = Output();
  EXPECT_NE(out.find("大きな図面.bin, 4,196 bytes in 2 ranges under a lock, time set to "
                     "2001-01-01 00:00:00 UTC"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("2001-01-01 00:00:00 UTC       4,196  大きな図面.bin"), std::string::npos)
      << out;
  std::string path, token;
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token)) << "the upload's lock was not released";

  // The public page names the folder's files and the chosen publisher.
  ASSERT_EQ(outcome.public_address.rfind(std::string(kBaseUrl) + "/pub/", 0), 0u);
  const emulator::BufferedResponse page = PublicPage(outcome.public_address);
  EXPECT_EQ(page.status, 200);
  EXPECT_NE(page.body.find("クエラン太郎"), std::string::npos);
  EXPECT_NE(page.body.find("報告書.txt"), std::string::npos);
  EXPECT_NE(lines_.back().find("every step succeeded"), std::string::npos);
}

TEST_F(DemoRunTest, ASecondRunReplacesTheFolderAndItsAddress) {
  const DemoOutcome first = Run();
  ASSERT_TRUE(first.ok) << Output();
  ASSERT_TRUE(files_.WriteWholeFile(std::string(kMirror) + "\\readme.txt", "second\n"));

  const DemoOutcome second = Run();
  ASSERT_TRUE(second.ok) << Output();
  EXPECT_NE(Output().find("replaced the earlier run's"), std::string::npos);
  EXPECT_EQ(ServerFile("readme.txt"), "second\n");
  EXPECT_NE(second.public_address, first.public_address);
  EXPECT_EQ(PublicPage(first.public_address).status, 404);
  EXPECT_EQ(PublicPage(second.public_address).status, 200);
}

TEST_F(DemoRunTest, FailuresStopTheRunWithTheirCodeAndMessage) {
  // A refused password: the sign-in error, not a bare "stopped".
  settings_.WriteCredentials(CredentialKind::kService, "taro@example.jp", "wrong", true);
  EXPECT_FALSE(Run().ok);
  ASSERT_FALSE(lines_.empty());
  EXPECT_NE(lines_.back().find("connect   FAILED, result code 75: "), std::string::npos)
      << Output();

  // A full disk on the first upload: nothing after it runs.
  settings_.WriteCredentials(CredentialKind::kService, "taro@example.jp", "secret", true);
  StartEmulator({"PUT /~taro@example.jp/file/* status=507"});
  const DemoOutcome outcome = Run();
  EXPECT_FALSE(outcome.ok);
  EXPECT_TRUE(outcome.public_address.empty());
  EXPECT_NE(lines_.back().find("upload    FAILED, result code 71: "), std::string::npos)
      << Output();

  // An empty mirror folder has nothing to show.
  StartEmulator({});
  for (const char* name : {"\\大きな図面.bin", "\\報告書.txt", "\\readme.txt"})
    ASSERT_EQ(files_.RemoveFile(std::string(kMirror) + name), 0u);
  EXPECT_FALSE(Run().ok);
  EXPECT_NE(lines_.back().find("holds no files"), std::string::npos) << Output();
}

}  // namespace
}  // namespace qbrk::demo
