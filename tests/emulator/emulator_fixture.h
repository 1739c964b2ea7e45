// A running emulator on a free loopback port with a fresh data folder, and shortcuts to
// talk to it as the client does.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "emulator/config.h"
#include "emulator/http_server.h"
#include "emulator/service.h"
#include "http_test_client.h"

namespace qbrk::emulator::testing {

inline constexpr char kTaro[] = "taro@example.jp";
inline constexpr char kTaroPassword[] = "secret";
inline constexpr char kJiro[] = "jiro@example.jp";
inline constexpr char kJiroPassword[] = "pw";

class EmulatorTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Changes the configuration before Start (called by SetUp with the defaults).
  virtual void Configure(EmulatorConfig&) {}
  void Start();
  void Restart();

  // "/~taro@example.jp/file/" + rest
  static std::string Disk(std::string_view rest = "", std::string_view user = kTaro);
  // A request as the client sends it: Basic credentials, "Accept-Charset: Shift_JIS".
  HttpReply Call(std::string_view method, std::string_view target, HeaderList headers = {},
                 std::string_view body = {});
  HttpReply CallAs(std::string_view user, std::string_view password, std::string_view method,
                   std::string_view target, HeaderList headers = {}, std::string_view body = {});
  // The control endpoint.
  HttpReply Control(std::string_view method, std::string_view what, std::string_view body = {});

  // Shortcuts that expect success.
  void Put(std::string_view rest, std::string_view content);
  void MakeFolder(std::string_view rest);
  // An exclusive depth-0 lock as the client takes it; Lock expects success.
  HttpReply LockRequest(std::string_view rest, int seconds = 3600);
  std::string Lock(std::string_view rest, int seconds = 3600);
  std::string FileOnDisk(std::string_view rest) const;

  // Sends part of a request and hangs up, then waits (boundedly) until the server has
  // noticed and undone what the request started.
  void HangUpAfter(std::string_view partial_request);
  // Waits (boundedly) until that many requests in all have broken off.
  void WaitForBrokenRequests(uint64_t count);
  size_t TemporaryFiles() const;

  uint16_t port() const { return server_->port(); }
  const std::string& data_dir() const { return data_dir_; }

  EmulatorConfig config_;
  std::unique_ptr<Service> service_;
  std::unique_ptr<HttpServer> server_;

 private:
  std::string data_dir_;
};

// The value between <tag> and </tag> (first occurrence), or "".
std::string Between(std::string_view text, std::string_view open, std::string_view close);

}  // namespace qbrk::emulator::testing
