// The rules of who may change what while locks are held.
#include "emulator/core/lock_table.h"

#include <gtest/gtest.h>

namespace qbrk::emulator {
namespace {

Lock MakeLock(std::string token, std::string rel, LockScope scope, bool infinite,
              int64_t expires_ms = 1000) {
  Lock lock;
  lock.token = std::move(token);
  lock.user = "u";
  lock.rel = std::move(rel);
  lock.scope = scope;
  lock.infinite = infinite;
  lock.expires_ms = expires_ms;
  return lock;
}

TEST(LockTableTest, ExclusiveLocksConflictWithEverythingOnTheirScope) {
  LockTable table;
  table.Add(MakeLock("t1", "dir", LockScope::kExclusive, true));
  EXPECT_TRUE(table.Conflicts("u", "dir/a", LockScope::kShared, false));
  EXPECT_TRUE(table.Conflicts("u", "", LockScope::kExclusive, true));
  EXPECT_FALSE(table.Conflicts("u", "", LockScope::kExclusive, false));
  EXPECT_FALSE(table.Conflicts("u", "other", LockScope::kExclusive, true));
  EXPECT_FALSE(table.Conflicts("v", "dir", LockScope::kExclusive, false));
}

TEST(LockTableTest, SharedLocksStackButKeepExclusiveOnesOut) {
  LockTable table;
  table.Add(MakeLock("s1", "f", LockScope::kShared, false));
  EXPECT_FALSE(table.Conflicts("u", "f", LockScope::kShared, false));
  table.Add(MakeLock("s2", "f", LockScope::kShared, false));
  EXPECT_TRUE(table.Conflicts("u", "f", LockScope::kExclusive, false));
  // Either shared token lets the holder write.
  EXPECT_TRUE(table.Permits("u", "f", {}, {"s2"}));
  EXPECT_FALSE(table.Permits("u", "f", {}, {}));
}

TEST(LockTableTest, ChangesNeedTheTokensOfEveryLockTheyTouch) {
  LockTable table;
  table.Add(MakeLock("coll", "dir", LockScope::kExclusive, false));
  table.Add(MakeLock("deep", "dir/sub/f", LockScope::kExclusive, false));
  // A depth-0 lock on a folder guards its members' existence, not their content.
  EXPECT_TRUE(table.Permits("u", "dir/a", {}, {}));
  EXPECT_FALSE(table.Permits("u", "dir/a", {.membership = true}, {}));
  EXPECT_TRUE(table.Permits("u", "dir/a", {.membership = true}, {"coll"}));
  // Deleting the folder touches the lock deep inside it too.
  EXPECT_FALSE(table.Permits("u", "dir", {.membership = true, .subtree = true}, {"coll"}));
  EXPECT_TRUE(table.Permits("u", "dir", {.membership = true, .subtree = true}, {"coll", "deep"}));
}

TEST(LockTableTest, ExpiresRemovesAndReservesNames) {
  LockTable table;
  Lock reserved = MakeLock("n", "dir/new", LockScope::kExclusive, false, 500);
  reserved.null_resource = true;
  table.Add(reserved);
  table.Add(MakeLock("k", "dir/kept", LockScope::kExclusive, false, 2000));
  EXPECT_TRUE(table.IsNullResource("u", "dir/new"));
  EXPECT_EQ(table.NullResourcesIn("u", "dir"), std::vector<std::string>{"new"});
  table.Materialize("u", "dir/new");
  EXPECT_FALSE(table.IsNullResource("u", "dir/new"));

  const std::vector<Lock> expired = table.Expire(1000);
  ASSERT_EQ(expired.size(), 1u);
  EXPECT_EQ(expired[0].token, "n");
  EXPECT_EQ(table.Find("n"), nullptr);
  EXPECT_EQ(table.RemoveInside("u", "dir").size(), 1u);
  EXPECT_TRUE(table.all().empty());
}

TEST(LockTableTest, FindsThePresentedLockOfAPieceAndOfARefresh) {
  LockTable table;
  table.Add(MakeLock("dir", "dir", LockScope::kShared, true));
  table.Add(MakeLock("file", "dir/f", LockScope::kShared, false));
  table.Add(MakeLock("other", "dir/f", LockScope::kShared, false));
  table.Add(MakeLock("elsewhere", "g", LockScope::kExclusive, false));
  // A piece goes under the first covering lock taken, whatever order the tokens came in.
  EXPECT_EQ(table.PresentedCovering("u", "dir/f", {"other", "file"})->token, "file");
  EXPECT_EQ(table.PresentedCovering("u", "dir/f", {"elsewhere"}), nullptr);
  EXPECT_EQ(table.PresentedCovering("v", "dir/f", {"file"}), nullptr);
  // A refresh renews the lock of the first token presented that covers the resource.
  Lock* renewed = table.Refresh("u", "dir/f", {"elsewhere", "other", "file"}, 5000, 60);
  ASSERT_NE(renewed, nullptr);
  EXPECT_EQ(renewed->token, "other");
  EXPECT_EQ(renewed->expires_ms, 65000);
  EXPECT_EQ(renewed->timeout_seconds, 60);
  EXPECT_EQ(table.Find("file")->expires_ms, 1000);
  EXPECT_EQ(table.Refresh("u", "dir/f", {"elsewhere"}, 5000, 60), nullptr);
  EXPECT_EQ(table.Refresh("v", "dir/f", {"file"}, 5000, 60), nullptr);
}

TEST(LockTableTest, ALockCoversItsResourceAndWithDepthInfinityWhatIsBelow) {
  const Lock shallow = MakeLock("s", "dir", LockScope::kExclusive, false, 2001);
  const Lock deep = MakeLock("d", "dir", LockScope::kExclusive, true);
  EXPECT_TRUE(shallow.Covers("dir"));
  EXPECT_FALSE(shallow.Covers("dir/a"));
  EXPECT_TRUE(deep.Covers("dir/a/b"));
  EXPECT_FALSE(deep.Covers("dirx"));
  EXPECT_FALSE(deep.Covers(""));
  // Seconds left are rounded up, so a lock never reports 0 before it has run out.
  EXPECT_EQ(shallow.SecondsLeft(0), 3);
  EXPECT_EQ(shallow.SecondsLeft(2000), 1);
  EXPECT_EQ(shallow.SecondsLeft(2001), 0);
  EXPECT_EQ(shallow.SecondsLeft(5000), 0);
}

}  // namespace
}  // namespace qbrk::emulator
