// The write locks held on the accounts' disks, with their expiry.
//
// Times are milliseconds of the service's clock, handed in by the caller, so that tests can
// move time forward without waiting.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbrk::emulator {

enum class LockScope { kExclusive, kShared };

struct Lock {
  std::string token;  // "opaquelocktoken:" + a random UUID
  std::string user;   // the account whose disk holds it
  std::string rel;    // the locked resource below the disk root
  LockScope scope = LockScope::kExclusive;
  bool infinite = false;  // depth infinity: covers everything below rel too
  std::string owner_xml;  // content of the owner element, ready to be written
  int64_t timeout_seconds = 0;
  int64_t expires_ms = 0;
  // Taken on a name where nothing existed: the name is reserved, no resource is created.
  bool null_resource = false;

  // Whether the lock's scope includes the resource at `at` (on the same disk): taken on it,
  // or with depth infinity above it.
  bool Covers(std::string_view at) const;
  // Whole seconds until it expires, rounded up; 0 once it has.
  int64_t SecondsLeft(int64_t now_ms) const;
};

// What a change touches besides the resource's own content.
struct ChangeScope {
  bool membership = false;  // creates or removes the resource in its parent collection
  bool subtree = false;     // also affects everything below the resource
};

class LockTable {
 public:
  // Drops the locks that have run out and hands them back.
  std::vector<Lock> Expire(int64_t now_ms);

  const Lock* Find(std::string_view token) const;
  Lock* FindMutable(std::string_view token);

  // Locks whose scope includes the resource: taken on it, or with depth infinity above it.
  std::vector<const Lock*> Covering(std::string_view user, std::string_view rel) const;
  // Locks taken on the resource or anywhere below it.
  std::vector<const Lock*> Inside(std::string_view user, std::string_view rel) const;

  // Whether a new lock of that kind on rel would clash with one already held.
  bool Conflicts(std::string_view user, std::string_view rel, LockScope scope, bool infinite) const;

  // Whether the tokens presented satisfy every lock that protects the change. A shared
  // lock is satisfied by the token of any shared lock protecting the same change.
  bool Permits(std::string_view user, std::string_view rel, ChangeScope change,
               const std::vector<std::string>& tokens) const;

  // The first lock covering rel whose token is presented, in the order the locks were taken;
  // a piece of a file is sent under it.
  const Lock* PresentedCovering(std::string_view user, std::string_view rel,
                                const std::vector<std::string>& tokens) const;
  // Refreshes the lock of the first presented token that covers rel: it lasts `seconds` from
  // now_ms. Null when none does.
  Lock* Refresh(std::string_view user, std::string_view rel, const std::vector<std::string>& tokens,
                int64_t now_ms, int64_t seconds);

  const Lock& Add(Lock lock);
  bool Remove(std::string_view token);
  // Removes the locks taken on rel or below (the resource is gone) and hands them back.
  std::vector<Lock> RemoveInside(std::string_view user, std::string_view rel);

  // A name reserved by a lock although nothing exists there.
  bool IsNullResource(std::string_view user, std::string_view rel) const;
  // Names directly below parent that are only reserved by locks.
  std::vector<std::string> NullResourcesIn(std::string_view user, std::string_view parent) const;
  // Something was created at rel: the locks reserving that name now lock a real resource.
  void Materialize(std::string_view user, std::string_view rel);

  const std::vector<Lock>& all() const { return locks_; }

 private:
  std::vector<Lock> locks_;
};

}  // namespace qbrk::emulator
