// Shared set-up of the protocol tests: the in-memory platform, a scripted transport and
// dialog link, an open session, and the golden request files.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "diag/error_log.h"
#include "platform/memory/memory_http_transport.h"
#include "platform/memory/scripted_dialog_link.h"
#include "protocol/server_session.h"
#include "settings/settings.h"
#include "settings/twin_env.h"

namespace qbrk::testing {

inline constexpr char kHost[] = "dav.example.jp";
inline constexpr char kUser[] = "taro@example.jp";
inline constexpr char kPassword[] = "secret";
inline constexpr char kRoot[] = "/~taro@example.jp/file/";
inline constexpr char kDate[] = "Tue, 05 Mar 2002 09:07:03 GMT";
inline constexpr uint64_t kDateTime = FakeClock::kDefaultNow;

// The wire form of requests as golden files keep it: CR LF written as LF, a lone CR or LF
// as <CR> or <LF> (so the text stays exact), each request followed by one more LF.
inline std::string Render(const std::vector<SentRequest>& requests, size_t from = 0) {
  std::string out;
  for (size_t i = from; i < requests.size(); ++i) {
    const std::string wire = requests[i].Wire();
    for (size_t p = 0; p < wire.size(); ++p) {
      if (wire[p] == '\r' && p + 1 < wire.size() && wire[p + 1] == '\n') {
        out += '\n';
        ++p;
      } else if (wire[p] == '\r') {
        out += "<CR>";
      } else if (wire[p] == '\n') {
        out += "<LF>";
      } else {
        out += wire[p];
      }
    }
    out += '\n';
  }
  return out;
}

// The folder comes from the build: __FILE__ is relative when the compiler cache rewrites
// paths, and the tests run elsewhere than the compiler did.
inline std::string GoldenPath(const std::string& name) {
  std::string folder = QBRK_GOLDEN_DIR;
#ifdef _WIN32
  if (!folder.empty() && folder[0] == '/') folder = "Z:" + folder;  // the Unix root under Wine
#endif
  return folder + name + ".txt";
}

// The golden file's text; with QBRK_UPDATE_GOLDEN set, `actual` is written there first.
inline std::string Golden(const std::string& name, const std::string& actual) {
  const std::string path = GoldenPath(name);
  if (std::getenv("QBRK_UPDATE_GOLDEN")) {
    if (FILE* f = std::fopen(path.c_str(), "wb")) {
      std::fwrite(actual.data(), 1, actual.size(), f);
      std::fclose(f);
    }
  }
  std::string text;
  if (FILE* f = std::fopen(path.c_str(), "rb")) {
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0)
      text.append(buffer, n);
    std::fclose(f);
  } else {
    ADD_FAILURE() << "missing golden file " << path;
  }
  return text;
}

// One multistatus response element.
inline std::string DavResponse(const std::string& href, const std::string& props) {
  return "<D:response><D:href>" + href + "</D:href><D:propstat><D:prop>" + props +
         "</D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response>";
}
inline std::string Multistatus(const std::string& responses) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">" +
         responses + "</D:multistatus>";
}
inline std::string FileProps(uint64_t size, const std::string& date = kDate) {
  return "<D:getcontentlength>" + std::to_string(size) +
         "</D:getcontentlength><D:getlastmodified>" + date + "</D:getlastmodified>";
}
// The answer of a lock discovery naming `owner` and `token` for `href`.
inline std::string LockAnswer(const std::string& href, const std::string& owner,
                              const std::string& token) {
  return Multistatus(DavResponse(
      href, "<D:lockdiscovery><D:activelock><D:locktype><D:write/></D:locktype><D:owner>" + owner +
                "</D:owner><D:locktoken><D:href>" + token +
                "</D:href></D:locktoken></D:activelock></D:lockdiscovery>"));
}
inline std::string LockGranted(const std::string& token) {
  return "<?xml version=\"1.0\"?><D:prop xmlns:D=\"DAV:\"><D:lockdiscovery><D:activelock>"
         "<D:locktoken><D:href>" +
         token + "</D:href></D:locktoken></D:activelock></D:lockdiscovery></D:prop>";
}

class ProtocolTest : public ::testing::Test {
 protected:
  ProtocolTest() { SetLoggingLevel(0); }

  void TearDown() override {
    session_.reset();
    EXPECT_EQ(http_.misuses(), 0u) << "a request step was called out of order";
    EXPECT_EQ(http_.open_requests(), 0u) << "a request was left open";
    EXPECT_EQ(http_.unanswered(), 0u) << "a request found no scripted reply";
  }

  ServerSession& Session(SessionOptions options = {}) {
    session_ = std::make_unique<ServerSession>(env_, http_, &link_, options);
    EXPECT_EQ(session_->OpenSession(kHost, 80, kUser, kPassword), 0u);
    session_->set_own_owner(kUser);
    session_->set_disk_root(kRoot);
    return *session_;
  }

  // Creates the current log file, as a job's rotation would, and turns logging on.
  void StartLog() {
    SetLoggingLevel(5);
    ASSERT_TRUE(files_.WriteWholeFile("C:\\TEMP\\HVQbrook00.log", ""));
  }
  std::string LogText() {
    std::string text;
    files_.ReadWholeFile("C:\\TEMP\\HVQbrook00.log", &text);
    return text;
  }

  void ExpectGolden(const std::string& name, size_t from = 0) {
    const std::string actual = Render(http_.requests(), from);
    EXPECT_EQ(actual, Golden(name, actual));
  }

  TwinEnv twin_;
  MemoryFileSystem& files_ = twin_.files;
  MemoryRegistry& registry_ = twin_.registry;
  Env& env_ = twin_.env;
  Settings settings_{registry_};
  MemoryHttpTransport http_;
  ScriptedDialogLink link_;
  std::unique_ptr<ServerSession> session_;
};

}  // namespace qbrk::testing
