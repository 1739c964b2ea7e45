#include "emulator_fixture.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "emulator/core/base64.h"
#include "emulator/disk_store.h"

namespace qbrk::emulator::testing {

void EmulatorTest::SetUp() {
  char pattern[] = "/tmp/qbrk-emulator-test-XXXXXX";
  ASSERT_NE(::mkdtemp(pattern), nullptr);
  data_dir_ = pattern;
  config_.data_dir = data_dir_;
  config_.accounts = {{"Taro@Example.jp", kTaroPassword}, {kJiro, kJiroPassword}};
  config_.control = true;
  Configure(config_);
  Start();
}

void EmulatorTest::Start() {
  std::string error;
  service_ = Service::Create(config_, &error);
  ASSERT_TRUE(service_) << error;
  ServerOptions options;
  server_ = HttpServer::Start(*service_, options, &error);
  ASSERT_TRUE(server_) << error;
}

void EmulatorTest::Restart() {
  server_.reset();
  service_.reset();
  Start();
}

void EmulatorTest::TearDown() {
  server_.reset();
  service_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(data_dir_, ignored);
}

std::string EmulatorTest::Disk(std::string_view rest, std::string_view user) {
  return "/~" + std::string(user) + "/file/" + std::string(rest);
}

HttpReply EmulatorTest::Call(std::string_view method, std::string_view target, HeaderList headers,
                             std::string_view body) {
  return CallAs(kTaro, kTaroPassword, method, target, std::move(headers), body);
}

HttpReply EmulatorTest::CallAs(std::string_view user, std::string_view password,
                               std::string_view method, std::string_view target, HeaderList headers,
                               std::string_view body) {
  headers.insert(headers.begin(), {"Accept-Charset", "Shift_JIS"});
  headers.push_back(
      {"Authorization", "Basic " + EncodeBase64(std::string(user) + ":" + std::string(password))});
  return SendRaw(port(), BuildRequest(method, target, headers, body), method == "HEAD");
}

HttpReply EmulatorTest::Control(std::string_view method, std::string_view what,
                                std::string_view body) {
  return SendRaw(port(), BuildRequest(method, "/_emulator/" + std::string(what), {}, body));
}

void EmulatorTest::Put(std::string_view rest, std::string_view content) {
  const HttpReply reply = Call("PUT", Disk(rest), {}, content);
  ASSERT_TRUE(reply.status == 201 || reply.status == 204) << rest << ": " << reply.status;
}

void EmulatorTest::MakeFolder(std::string_view rest) {
  ASSERT_EQ(Call("MKCOL", Disk(rest)).status, 201) << rest;
}

HttpReply EmulatorTest::LockRequest(std::string_view rest, int seconds) {
  return Call("LOCK", Disk(rest),
              {{"Timeout", "Second-" + std::to_string(seconds)}, {"Depth", "0"}},
              "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:lockinfo xmlns:D=\"DAV:\">"
              "<D:lockscope><D:exclusive/></D:lockscope><D:locktype><D:write/></D:locktype>"
              "</D:lockinfo>");
}

std::string EmulatorTest::Lock(std::string_view rest, int seconds) {
  const HttpReply reply = LockRequest(rest, seconds);
  EXPECT_EQ(reply.status, 200) << reply.body;
  return Between(reply.body, "<D:locktoken><D:href>", "</D:href>");
}

size_t EmulatorTest::TemporaryFiles() const {
  return DiskStore(data_dir_ + "/.state/tmp").Children("").size();
}

void EmulatorTest::HangUpAfter(std::string_view partial_request) {
  const uint64_t broken = server_->broken_requests();
  SendAndHangUp(port(), partial_request);
  WaitForBrokenRequests(broken + 1);
}

void EmulatorTest::WaitForBrokenRequests(uint64_t count) {
  for (int i = 0; i < 500 && server_->broken_requests() < count; ++i)
    ::usleep(10000);
  EXPECT_EQ(server_->broken_requests(), count) << "the server did not notice the break";
}

std::string EmulatorTest::FileOnDisk(std::string_view rest) const {
  std::ifstream in(data_dir_ + "/accounts/" + kTaro + "/" + std::string(rest), std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return in ? content.str() : "<missing>";
}

std::string Between(std::string_view text, std::string_view open, std::string_view close) {
  const size_t start = text.find(open);
  if (start == std::string_view::npos) return {};
  const size_t end = text.find(close, start + open.size());
  if (end == std::string_view::npos) return {};
  return std::string(text.substr(start + open.size(), end - start - open.size()));
}

}  // namespace qbrk::emulator::testing
