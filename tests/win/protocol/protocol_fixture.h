// The protocol layer as shipped code runs it: ServerConnection on the Win32 platform and
// WinINet, with its settings in the test user's registry key, against the emulator program
// that tests/win/support/with_emulator.sh starts beside each test process. Questions to
// the user are answered by a scripted dialog link. Each scenario ends by comparing the
// emulator's data folder with what the user's disk should now hold.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "common/result_code.h"
#include "platform/memory/scripted_dialog_link.h"
#include "protocol/server_connection.h"

namespace qbrk::test {

inline constexpr char kUser[] = "taro@example.jp";
inline constexpr char kPassword[] = "secret";
inline constexpr char kRoot[] = "/~taro@example.jp/file/";

// A person-visible tree: path below the disk ("a/b.txt", folders end with "/") to content.
using Tree = std::map<std::string, std::string>;

struct ControlReply {
  uint32_t status = 0;
  std::string body;
};

class ProtocolScenario : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Settings of a connection to the plain emulator with the right credentials.
  void WriteSettings(const std::string& password = kPassword);
  // Opens `connection_` (made anew); 0 or the open sequence's code.
  ResultCode Open();
  ServerSession& session() { return *connection_->session(); }

  // The emulator's control endpoint, over WinINet.
  ControlReply Control(const std::string& method, const std::string& what,
                       const std::string& body = "");
  // One request to the plain emulator over a WinINet connection of its own, not through
  // the library's session: `path` goes on the wire as it stands, `headers` (CR LF ended
  // lines, may be empty) are added before the send.
  ControlReply Request(const std::string& method, const std::string& path,
                       const std::string& headers, const std::string& body);
  void AddFault(const std::string& rule);

  // The account's disk as the emulator keeps it on disk.
  Tree DiskTree();
  void ExpectDisk(const Tree& expected) { EXPECT_EQ(DiskTree(), expected); }
  // A file in this test's own temporary folder.
  std::string LocalPath(const std::string& name) const { return temp_ + name; }
  void WriteLocal(const std::string& name, const std::string& content);
  std::string ReadLocal(const std::string& name);

  ScriptedDialogLink link_;
  std::vector<ResultCode> reported_;  // codes shown through the error reporter
  std::unique_ptr<ServerConnection> connection_;
  uint16_t port_ = 0;
  uint16_t tls_port_ = 0;
  std::string data_;  // the emulator's data folder
  std::string temp_;  // this test's temporary folder (TMP), with a trailing backslash

 private:
  std::string saved_tmp_;
};

// Adds every file and folder below `folder` (with its trailing backslash) to `tree`, named
// from `prefix`, as the ANSI calls see them.
void ReadTree(const std::string& folder, const std::string& prefix, Tree* tree);

// Content of `size` bytes that differs at every offset class (so a misplaced range shows).
std::string Pattern(size_t size);

}  // namespace qbrk::test
