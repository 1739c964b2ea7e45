// Faults injected through the control endpoint and at start, and the endpoint itself.
#include <gtest/gtest.h>

#include <ctime>

#include "emulator_fixture.h"
#include "protocol/service.h"

namespace qbrk::emulator::testing {
namespace {

int64_t NowMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

using FaultsTest = EmulatorTest;

TEST_F(FaultsTest, AStatusRuleAnswersWithoutDoingAnythingAsOftenAsTold) {
  ASSERT_EQ(Control("POST", "faults", "PUT " + Disk("f") + " status=503 times=2").status, 200);
  EXPECT_EQ(Call("PUT", Disk("f"), {}, "x").status, 503);
  EXPECT_EQ(Call("HEAD", Disk("f")).status, 404);
  EXPECT_EQ(Call("GET", Disk("f")).status, 404);  // another method: not matched
  EXPECT_EQ(Call("PUT", Disk("f"), {}, "x").status, 503);
  EXPECT_EQ(Call("PUT", Disk("f"), {}, "x").status, 201);
  EXPECT_EQ(Control("GET", "faults").body, "");
}

TEST_F(FaultsTest, PrefixRulesMatchDecodedPathsAndCanBeCleared) {
  ASSERT_EQ(Control("POST", "faults", "* " + Disk("dir/*") + " status=507").status, 200);
  MakeFolder("dir");
  EXPECT_EQ(Call("PUT", Disk("dir/a%20b"), {}, "x").status, 507);
  EXPECT_EQ(Control("GET", "faults").body, "* " + Disk("dir/*") + " status=507\n");
  ASSERT_EQ(Control("DELETE", "faults").status, 200);
  EXPECT_EQ(Call("PUT", Disk("dir/a%20b"), {}, "x").status, 201);
  EXPECT_EQ(Control("POST", "faults", "PUT /x bogus=1").status, 400);
  EXPECT_EQ(Control("POST", "faults", "PUT").status, 400);
  EXPECT_EQ(Control("POST", "faults", "PUT /x status=99").status, 400);
}

TEST_F(FaultsTest, ADelayHoldsTheAnswerBack) {
  ASSERT_EQ(Control("POST", "faults", "HEAD " + Disk() + " delay=300 times=1").status, 200);
  const int64_t start = NowMs();
  EXPECT_EQ(Call("HEAD", Disk()).status, 200);
  EXPECT_GE(NowMs() - start, 300);
}

TEST_F(FaultsTest, CutsBreakTheConnectionInsideABody) {
  Put("f", std::string(1000, 'a'));
  ASSERT_EQ(Control("POST", "faults", "GET " + Disk("f") + " cut-response=100 times=1").status,
            200);
  const HttpReply cut = Call("GET", Disk("f"));
  EXPECT_TRUE(cut.truncated);
  EXPECT_EQ(cut.body, std::string(100, 'a'));
  EXPECT_FALSE(Call("GET", Disk("f")).truncated);

  // An upload broken off by the server leaves the old file.
  ASSERT_EQ(Control("POST", "faults", "PUT " + Disk("f") + " cut-request=10 times=1").status, 200);
  const uint64_t broken = server_->broken_requests();
  EXPECT_EQ(Call("PUT", Disk("f"), {}, std::string(1000, 'b')).status, 0);
  WaitForBrokenRequests(broken + 1);
  EXPECT_EQ(TemporaryFiles(), 0u);
  EXPECT_EQ(Call("GET", Disk("f")).body, std::string(1000, 'a'));
}

TEST_F(FaultsTest, TheVersionHeaderCanBeChangedPerRequest) {
  ASSERT_EQ(Control("POST", "faults",
                    "HEAD " + Disk() + " version=0.9 times=1\nHEAD " + Disk() + " version= times=1")
                .status,
            200);
  EXPECT_EQ(Call("HEAD", Disk()).Header(kVersionHeader), "0.9");
  EXPECT_FALSE(Call("HEAD", Disk()).HasHeader(kVersionHeader));
  EXPECT_EQ(Call("HEAD", Disk()).Header(kVersionHeader), "2.0");
}

TEST_F(FaultsTest, TheControlEndpointAnswersOnlyWhatItKnows) {
  EXPECT_EQ(Control("GET", "").status, 200);
  EXPECT_EQ(Control("GET", "nothing").status, 404);
  EXPECT_EQ(Control("PUT", "faults").status, 405);
  EXPECT_EQ(Control("POST", "clock", "advance=x").status, 400);
  EXPECT_EQ(Control("POST", "settings", "quota=nobody@example.jp 5").status, 400);
  EXPECT_EQ(Control("POST", "locks", "/~nobody@example.jp/file/x").status, 404);
}

class FaultsAtStartTest : public EmulatorTest {
 protected:
  void Configure(EmulatorConfig& config) override {
    config.control = false;
    config.faults = {"PROPFIND /~taro@example.jp/file/ status=503 times=1"};
    config.held_locks = {"/~taro@example.jp/file/held owner=hanako@example.jp"};
    config.vfs_version = "1.0";
    config.preferred_host = "localhost";
  }
};

TEST_F(FaultsAtStartTest, FlagsInstallFaultsAndLocksAndTheEndpointIsAbsent) {
  EXPECT_EQ(Call("PROPFIND", Disk(), {{"Depth", "0"}}).status, 503);
  EXPECT_EQ(Call("PROPFIND", Disk(), {{"Depth", "0"}}).status, 207);
  EXPECT_EQ(Call("PUT", Disk("held"), {}, "x").status, 423);
  const HttpReply head = Call("HEAD", Disk(), {{kPreferredHostHeader, "*"}});
  EXPECT_EQ(head.Header(kVersionHeader), "1.0");
  EXPECT_EQ(head.Header(kPreferredHostHeader), "localhost");
  EXPECT_EQ(Control("GET", "faults").status, 404);
}

}  // namespace
}  // namespace qbrk::emulator::testing
