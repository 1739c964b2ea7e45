// Locks: taking, releasing, this user's own locks, and the lock saved by an interrupted run.
#include "protocol/locks.h"

#include "protocol/file_ops.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

using testing::DavResponse;
using testing::LockAnswer;
using testing::Multistatus;

class LocksTest : public testing::ProtocolTest {
 protected:
  std::vector<std::string> Methods() const {
    std::vector<std::string> out;
    for (const auto& r : http_.requests())
      out.push_back(r.method + " " + r.path);
    return out;
  }
};

TEST_F(LocksTest, LockSendsTimeoutAndDepthAndReadsTheToken) {
  registry_.PutDword(RegistryRoot::kCurrentUser, kSettingsKey, "LockTimeOut", 60);
  ServerSession& session = Session();
  http_.Script(200, "", testing::LockGranted("opaquelocktoken:abc"));
  std::string token;
  ASSERT_EQ(Lock(session, "/r/a", &token), 0u);
  EXPECT_EQ(token, "opaquelocktoken:abc");
  const auto& calls = http_.requests()[0].header_calls;
  EXPECT_EQ(calls[calls.size() - 2].text, "Timeout: Second-60\r\n");
  EXPECT_EQ(calls.back().text, "Depth: 0");  // no line end, as the server has always seen it

  http_.Script(201);  // another 2xx: success without a token
  ASSERT_EQ(Lock(session, "/r/a", &token), 0u);
  EXPECT_EQ(token, "");
  http_.Script(200, "", "<D:prop xmlns:D='DAV:'/>");
  EXPECT_EQ(Lock(session, "/r/a", &token), 48u);
  http_.Script(200, "", "<D:prop><unclosed>");
  EXPECT_EQ(Lock(session, "/r/a", &token), 48u);
}

TEST_F(LocksTest, LockMeetingOwnLockReleasesItAndAsksAgain) {
  ServerSession& session = Session();
  http_.Script(423);
  http_.Script(207, "", LockAnswer("/r/a", testing::kUser, "old"));
  http_.Script(204);
  http_.Script(200, "", testing::LockGranted("new"));
  std::string token;
  ASSERT_EQ(Lock(session, "/r/a", &token), 0u);
  EXPECT_EQ(token, "new");
  EXPECT_EQ(Methods(),
            (std::vector<std::string>{"LOCK /r/a", "PROPFIND /r/a", "UNLOCK /r/a", "LOCK /r/a"}));
  EXPECT_EQ(http_.requests()[2].Header("Lock-Token"), "<old>");

  http_.Script(423);
  http_.Script(404);  // the discovery fails: its code, 55 for what is not mapped
  EXPECT_EQ(Lock(session, "/r/a", &token), 55u);
}

TEST_F(LocksTest, UnlockToleratesLocksThatAreGone) {
  ServerSession& session = Session();
  for (uint32_t status : {204u, 412u, 424u, 200u}) {
    http_.Script(status);
    EXPECT_EQ(Unlock(session, "/r/a", "t"), 0u) << status;
  }
  http_.Script(403);
  EXPECT_EQ(Unlock(session, "/r/a", "t"), 49u);
}

TEST_F(LocksTest, ReleaseOwnLockLeavesOtherOwnersAlone) {
  ServerSession& session = Session();
  http_.Script(207, "", LockAnswer("/r/a", "hanako@example.jp", "theirs"));
  EXPECT_EQ(ReleaseOwnLock(session, "/r/a"), 0u);
  http_.Script(207, "", LockAnswer("/r/a", "TARO@example.jp", "case"));  // byte for byte
  EXPECT_EQ(ReleaseOwnLock(session, "/r/a"), 0u);
  EXPECT_EQ(http_.requests().size(), 2u);
  http_.Script(200);  // discovery needs 207
  EXPECT_EQ(ReleaseOwnLock(session, "/r/a"), 55u);
}

TEST_F(LocksTest, DiskWideReleaseUnlocksOnlyOwnLocks) {
  ServerSession& session = Session();
  auto lock = [](const std::string& owner, const std::string& token) {
    return "<D:lockdiscovery><D:activelock><D:owner>" + owner + "</D:owner><D:locktoken><D:href>" +
           token + "</D:href></D:locktoken></D:activelock></D:lockdiscovery>";
  };
  http_.Script(207, "",
               Multistatus(DavResponse(testing::kRoot, "<D:lockdiscovery/>") +
                           DavResponse("/r/mine#1", lock(testing::kUser, "t1")) +
                           DavResponse("/r/theirs", lock("hanako@example.jp", "t2")) +
                           DavResponse("/r/d/mine2", lock(testing::kUser, "t3"))));
  http_.Script(204);
  http_.Script(204);
  ASSERT_EQ(ReleaseOwnLocksOnDisk(session, testing::kRoot), 0u);
  EXPECT_EQ(Methods(), (std::vector<std::string>{"PROPFIND /~taro@example.jp/file/",
                                                 "UNLOCK /r/mine%231", "UNLOCK /r/d/mine2"}));
  EXPECT_EQ(http_.requests()[0].Header("Depth"), "infinity");
}

TEST_F(LocksTest, DeleteMeetingALockReleasesOwnLocksOnTheDisk) {
  ServerSession& session = Session();
  http_.Script(423);
  http_.Script(207, "", Multistatus(""));
  http_.Script(204);
  ASSERT_EQ(DeleteResource(session, "/r/a"), 0u);
  EXPECT_EQ(Methods(), (std::vector<std::string>{"DELETE /r/a", "PROPFIND /~taro@example.jp/file/",
                                                 "DELETE /r/a"}));
  http_.Script(423);
  http_.Script(500);
  EXPECT_EQ(DeleteResource(session, "/r/a"), 57u);
}

TEST_F(LocksTest, ProppatchMeetingOwnLockReleasesItAndAsksAgain) {
  ServerSession& session = Session();
  http_.Script(423);
  http_.Script(207, "", LockAnswer("/r/a", testing::kUser, "t"));
  http_.Script(204);
  http_.Script(207);
  ASSERT_EQ(SetLastModified(session, testing::kDateTime, "/r/a"), 0u);
  EXPECT_EQ(http_.requests().size(), 4u);
  EXPECT_EQ(http_.requests()[3].method, "PROPPATCH");
}

class SavedLockTest : public LocksTest {
 protected:
  void SetUp() override { settings_.WriteLockToken("/r/big.bin", "saved"); }
  bool Saved() {
    std::string path, token;
    return settings_.ReadLockToken(&path, &token);
  }
};

TEST_F(SavedLockTest, SameTokenIsUnlockedAndForgotten) {
  ServerSession& session = Session();
  http_.Script(207, "", LockAnswer("/r/big.bin", testing::kUser, "saved"));
  http_.Script(412);
  ReleaseSavedLock(session);
  EXPECT_FALSE(Saved());
  EXPECT_EQ(http_.requests().back().Header("Lock-Token"), "<saved>");
}

TEST_F(SavedLockTest, ExpiredLockIsForgottenWithoutUnlock) {
  ServerSession& session = Session();
  http_.Script(207, "", Multistatus(DavResponse("/r/big.bin", "<D:lockdiscovery/>")));
  ReleaseSavedLock(session);
  EXPECT_FALSE(Saved());
  EXPECT_EQ(http_.requests().size(), 1u);
}

TEST_F(SavedLockTest, OtherTokenFailedDiscoveryOrFailedUnlockKeepTheRecord) {
  ServerSession& session = Session();
  http_.Script(207, "", LockAnswer("/r/big.bin", testing::kUser, "another"));
  ReleaseSavedLock(session);
  EXPECT_TRUE(Saved());
  EXPECT_EQ(http_.requests().size(), 1u);
  http_.ScriptFailure(FailStep::kSend, 12029);
  ReleaseSavedLock(session);
  EXPECT_TRUE(Saved());
  http_.Script(207, "", LockAnswer("/r/big.bin", testing::kUser, "saved"));
  http_.Script(403);
  ReleaseSavedLock(session);
  EXPECT_TRUE(Saved());
}

}  // namespace
}  // namespace qbrk
