#include "protocol_fixture.h"

#include <windows.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "diag/error_log.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/win32_env.h"
#include "platform/win32/win32_net.h"
#include "platform/win32/wininet_transport.h"
#include "protocol/service.h"
#include "protocol/worker_messages.h"
#include "settings/settings.h"
#include "support/user_state.h"

namespace qbrk::test {

namespace {

uint16_t PortFrom(const char* variable) {
  const char* value = std::getenv(variable);
  return value ? static_cast<uint16_t>(std::atoi(value)) : 0;
}

void RemoveTree(const std::string& folder) {
  WIN32_FIND_DATAA data;
  UniqueFind find(FindFirstFileA((folder + "*").c_str(), &data));
  if (find) {
    do {
      const std::string name = data.cFileName;
      if (name == "." || name == "..") continue;
      const std::string path = folder + name;
      if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        RemoveTree(path + "\\");
      } else {
        SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileA(path.c_str());
      }
    } while (FindNextFileA(find.get(), &data));
  }
  RemoveDirectoryA(folder.c_str());
}

}  // namespace

void ReadTree(const std::string& folder, const std::string& prefix, Tree* tree) {
  WIN32_FIND_DATAA data;
  UniqueFind find(FindFirstFileA((folder + "*").c_str(), &data));
  if (!find) return;
  do {
    const std::string name = data.cFileName;
    if (name == "." || name == "..") continue;
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      (*tree)[prefix + name + "/"] = "";
      ReadTree(folder + name + "\\", prefix + name + "/", tree);
    } else {
      std::ifstream in(folder + name, std::ios::binary);
      std::ostringstream content;
      content << in.rdbuf();
      (*tree)[prefix + name] = content.str();
    }
  } while (FindNextFileA(find.get(), &data));
}

std::string Pattern(size_t size) {
  std::string text(size, '\0');
  for (size_t i = 0; i < size; ++i)
    text[i] = static_cast<char>('a' + (i * 7 + i / 4093) % 26);
  return text;
}

void ProtocolScenario::SetUp() {
  if (const char* program = std::getenv("QBRK_EMULATOR_MISSING"))
    GTEST_SKIP() << "the emulator is not built (" << program << "): build the native preset";
  port_ = PortFrom("QBRK_EMULATOR_PORT");
  tls_port_ = PortFrom("QBRK_EMULATOR_TLS_PORT");
  const char* data = std::getenv("QBRK_EMULATOR_DATA");
  ASSERT_TRUE(port_ != 0 && tls_port_ != 0 && data != nullptr)
      << "no emulator: run the test through CTest (tests/win/support/with_emulator.sh)";
  data_ = data;

  // The library's temporary files and logs go to a folder of this test's own.
  char temp[MAX_PATH] = {};
  GetTempPathA(MAX_PATH, temp);
  temp_ = std::string(temp) + "qbrk_protocol_" + std::to_string(GetCurrentProcessId()) + "\\";
  RemoveTree(temp_);
  ASSERT_TRUE(CreateDirectoryA(temp_.c_str(), nullptr));
  char saved[MAX_PATH] = {};
  GetEnvironmentVariableA("TMP", saved, MAX_PATH);
  saved_tmp_ = saved;
  ASSERT_TRUE(SetEnvironmentVariableA("TMP", temp_.c_str()));

  ClearUserState();
  WriteSettings();
  link_.OnMessage(worker_message::kSignIn,
                  [](uintptr_t, intptr_t) { ADD_FAILURE() << "unexpected sign-in question"; });
}

void ProtocolScenario::TearDown() {
  if (connection_) connection_->Close();
  connection_.reset();
  if (!temp_.empty()) {
    // Spooled answers and downloads in progress are deleted on every path.
    WIN32_FIND_DATAA data;
    if (UniqueFind(FindFirstFileA((temp_ + "qbk*").c_str(), &data)))
      ADD_FAILURE() << "temporary file left behind: " << data.cFileName;
    SetEnvironmentVariableA("TMP", saved_tmp_.empty() ? nullptr : saved_tmp_.c_str());
    RemoveTree(temp_);
  }
  SetLoggingLevel(kDefaultPutLog);
  ClearUserState();
}

void ProtocolScenario::WriteSettings(const std::string& password) {
  Settings settings(Win32Env().registry);
  ASSERT_TRUE(SetSettingString("Domain", "127.0.0.1"));
  ASSERT_TRUE(settings.WriteDword("Port", port_));
  ASSERT_TRUE(settings.WriteDword("PortSSL", tls_port_));
  ASSERT_TRUE(settings.WriteDword("PutLog", 0));
  ASSERT_TRUE(settings.WriteDword("Timeout", 20000));
  settings.WriteCredentials(CredentialKind::kService, kUser, password, true);
}

ResultCode ProtocolScenario::Open() {
  if (connection_) connection_->Close();
  ConnectionUi ui;
  ui.link = &link_;
  ui.report_error = [this](ResultCode code) { reported_.push_back(code); };
  connection_ = std::make_unique<ServerConnection>(
      Win32Env(), NetPlatform{Win32HttpTransport(), Win32DialUp()}, std::move(ui));
  return connection_->Open();
}

ControlReply ProtocolScenario::Control(const std::string& method, const std::string& what,
                                       const std::string& body) {
  return Request(method, "/_emulator/" + what, "", body);
}

ControlReply ProtocolScenario::Request(const std::string& method, const std::string& path,
                                       const std::string& headers, const std::string& body) {
  ControlReply reply;
  WinInetTransport transport;
  std::unique_ptr<HttpSession> session;
  std::unique_ptr<HttpConnection> connection;
  std::unique_ptr<HttpRequest> request;
  if (transport.OpenSession("control", &session) != 0 ||
      session->Connect("127.0.0.1", port_, &connection) != 0 ||
      connection->OpenRequest(method, path, http_open_flags::kReload, &request) != 0 ||
      (!headers.empty() && request->AddHeaders(headers, HeaderMode::kReplace) != 0) ||
      request->Send(body) != 0 || request->QueryStatus(&reply.status) != 0) {
    ADD_FAILURE() << "request failed: " << method << " " << path;
    return reply;
  }
  char buffer[4096];
  uint32_t read = 0;
  for (int round = 0; round < 1024 && request->Read(buffer, sizeof buffer, &read) == 0 && read;
       ++round)
    reply.body.append(buffer, read);
  return reply;
}

void ProtocolScenario::AddFault(const std::string& rule) {
  const ControlReply reply = Control("POST", "faults", rule);
  EXPECT_EQ(reply.status, 200u) << rule << ": " << reply.body;
}

Tree ProtocolScenario::DiskTree() {
  Tree tree;
  ReadTree(data_ + "\\accounts\\" + kUser + "\\", "", &tree);
  return tree;
}

void ProtocolScenario::WriteLocal(const std::string& name, const std::string& content) {
  std::ofstream out(LocalPath(name), std::ios::binary);
  out << content;
  ASSERT_TRUE(out.good()) << name;
}

std::string ProtocolScenario::ReadLocal(const std::string& name) {
  std::ifstream in(LocalPath(name), std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

}  // namespace qbrk::test
