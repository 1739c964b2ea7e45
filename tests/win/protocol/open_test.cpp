// Opening a connection over WinINet, and how statuses and network failures come back.
#include "platform/memory/scripted_dialog_link.h"
#include "platform/win32/win32_env.h"
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/sign_in_record.h"
#include "protocol/transfer.h"
#include "protocol/worker_messages.h"
#include "protocol_fixture.h"
#include "settings/settings.h"
#include "support/loopback.h"

namespace qbrk::test {
namespace {

using WinInetOpenTest = ProtocolScenario;

TEST_F(WinInetOpenTest, WrongPasswordAsksForSignInUntilTheServerAccepts) {
  WriteSettings("wrong");
  int asked = 0;
  link_.OnMessage(worker_message::kSignIn, [&](uintptr_t wparam, intptr_t lparam) {
    auto* record = reinterpret_cast<SignInRecord*>(wparam);
    EXPECT_EQ(record->user, kUser);
    EXPECT_EQ(record->proxy, 0u);
    // The first answer is wrong again, the second right.
    record->password = ++asked == 1 ? "still wrong" : kPassword;
    *reinterpret_cast<uint32_t*>(lparam) = kAnswerOk;
  });
  ASSERT_EQ(Open(), 0u);
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(reported_, (std::vector<ResultCode>{75, 75}));
  EXPECT_EQ(connection_->root(), kRoot);
  // Connecting and authenticating once per round.
  EXPECT_EQ(link_.count(worker_message::kStatus), 6u);

  Credentials stored;
  ASSERT_TRUE(Settings(Win32Env().registry).ReadCredentials(CredentialKind::kService, &stored));
  EXPECT_EQ(stored.password, kPassword);
  ExpectDisk({});
}

TEST_F(WinInetOpenTest, SignInCancelledAndVersionRefused) {
  WriteSettings("wrong");
  link_.OnMessage(worker_message::kSignIn, [](uintptr_t, intptr_t) {});  // closed: answer 0
  EXPECT_EQ(Open(), 1u);
  EXPECT_EQ(reported_, (std::vector<ResultCode>{75}));

  WriteSettings();
  struct Case {
    const char* version;
    uint32_t server_check;
    ResultCode result;
  } cases[] = {
      {"1.0", 1, 0}, {"2.5", 1, 0}, {"0.9", 1, 76}, {"2", 1, 76}, {"", 1, 76}, {"2", 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string("version ") + c.version);
    ASSERT_EQ(Control("POST", "settings", std::string("vfs-version=") + c.version).status, 200u);
    ASSERT_TRUE(Settings(Win32Env().registry).WriteDword("ServerCheck", c.server_check));
    EXPECT_EQ(Open(), c.result);
  }
}

TEST_F(WinInetOpenTest, PreferredHostTakesOverTheConnection) {
  ASSERT_EQ(Control("POST", "settings", "preferred-host=localhost").status, 200u);
  ASSERT_EQ(Open(), 0u);
  EXPECT_EQ(connection_->host(), "localhost");
  ASSERT_EQ(MakeFolder(session(), std::string(kRoot) + "redirected/"), 0u);
  ExpectDisk({{"redirected/", ""}});
}

TEST_F(WinInetOpenTest, StatusesBecomeResultCodes) {
  ASSERT_EQ(Open(), 0u);
  const struct {
    uint32_t status;
    ResultCode result;
  } cases[] = {{401, 75}, {404, 73}, {409, 73}, {414, 72}, {423, 77},
               {503, 80}, {507, 71}, {500, 42}, {403, 42}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.status);
    const std::string path = std::string(kRoot) + "s" + std::to_string(c.status) + "/";
    AddFault("MKCOL " + path + " status=" + std::to_string(c.status) + " times=1");
    EXPECT_EQ(MakeFolder(session(), path), c.result);
    // The fault fired once: the same request now goes through.
    EXPECT_EQ(MakeFolder(session(), path), 0u);
  }
  ExpectDisk({{"s401/", ""},
              {"s403/", ""},
              {"s404/", ""},
              {"s409/", ""},
              {"s414/", ""},
              {"s423/", ""},
              {"s500/", ""},
              {"s503/", ""},
              {"s507/", ""}});
}

TEST_F(WinInetOpenTest, RefusedTimedOutAndBrokenConnections) {
  Settings settings(Win32Env().registry);
  const uint16_t closed = ClosedLoopbackPort();
  ASSERT_NE(closed, 0);
  ASSERT_TRUE(settings.WriteDword("Port", closed));
  EXPECT_EQ(Open(), 74u);

  // An answer slower than the Timeout setting ends the open instead of holding the job.
  // Windows reports the time-out (12002: 74); Wine reports a dropped connection (12030: 78).
  ASSERT_TRUE(settings.WriteDword("Port", port_));
  ASSERT_TRUE(settings.WriteDword("Timeout", 300));
  AddFault(std::string("HEAD ") + kRoot + " delay=3000");
  const ResultCode timed_out = Open();
  EXPECT_TRUE(timed_out == 74 || timed_out == 78) << timed_out;
  ASSERT_EQ(Control("DELETE", "faults").status, 200u);
  ASSERT_TRUE(settings.WriteDword("Timeout", 20000));
  ASSERT_EQ(Open(), 0u);

  // An upload whose connection the server drops: the server keeps nothing of it.
  WriteLocal("cut.bin", Pattern(300000));
  const std::string file = std::string(kRoot) + "cut.bin";
  AddFault("PUT " + file + " cut-request=5000 times=1");
  const ResultCode cut = Upload(session(), LocalPath("cut.bin"), file);
  EXPECT_TRUE(cut == 51 || cut == 43) << cut;
  ExpectDisk({});

  // A download whose answer the server cuts short: WinINet reports no error, the length
  // tells, and the local copy stays as it was.
  WriteLocal("whole.bin", Pattern(50000));
  const std::string whole = std::string(kRoot) + "whole.bin";
  ASSERT_EQ(Upload(session(), LocalPath("whole.bin"), whole), 0u);
  WriteLocal("local.bin", "the local copy");
  AddFault("GET " + whole + " cut-response=10000 times=1");
  FindData item;
  EXPECT_EQ(Download(session(), whole, LocalPath("local.bin"), &item), 78u);
  EXPECT_EQ(ReadLocal("local.bin"), "the local copy");
  ExpectDisk({{"whole.bin", Pattern(50000)}});
}

}  // namespace
}  // namespace qbrk::test
