// The write locks of the model's disk and the "If" header that presents their tokens.
//
// Times are FILETIMEs of the model's clock, so that a test moves time forward by setting it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qbrk::model {

enum class LockScope { kExclusive, kShared };

struct Lock {
  std::string token;  // "opaquelocktoken:" + a UUID-shaped count
  std::string rel;    // the locked resource below the disk root
  LockScope scope = LockScope::kExclusive;
  bool infinite = false;  // depth infinity: covers everything below rel too
  std::string owner_xml;  // content of the owner element, ready to be written
  uint64_t expires = 0;   // FILETIME
  // Taken on a name where nothing existed: the name is reserved, no resource is created.
  bool null_resource = false;
};

// What a change touches besides the resource's own content.
struct ChangeScope {
  bool membership = false;  // creates or removes the resource in its parent folder
  bool subtree = false;     // also affects everything below the resource
};

class LockTable {
 public:
  // Drops the locks that have run out and hands back their tokens.
  std::vector<std::string> Expire(uint64_t now);

  const Lock* Find(std::string_view token) const;
  Lock* FindMutable(std::string_view token);

  // Locks whose scope includes the resource: taken on it, or with depth infinity above it.
  std::vector<const Lock*> Covering(std::string_view rel) const;
  // Locks taken on the resource or anywhere below it.
  std::vector<const Lock*> Inside(std::string_view rel) const;

  // Whether a new lock of that kind on rel would clash with one already held.
  bool Conflicts(std::string_view rel, LockScope scope, bool infinite) const;

  // Whether the tokens presented satisfy every lock that protects the change. A shared lock
  // is satisfied by the token of any shared lock protecting the same change.
  bool Permits(std::string_view rel, ChangeScope change,
               const std::vector<std::string>& tokens) const;

  const Lock& Add(Lock lock);
  bool Remove(std::string_view token);
  // Removes the locks taken on rel or below (the resource is gone); their tokens.
  std::vector<std::string> RemoveInside(std::string_view rel);
  void Clear() { locks_.clear(); }

  // A name reserved by a lock although nothing exists there.
  bool IsNullResource(std::string_view rel) const;
  // Names directly below parent that are only reserved by locks, sorted.
  std::vector<std::string> NullResourcesIn(std::string_view parent) const;
  // Something was created at rel: the locks reserving that name now lock a real resource.
  void Materialize(std::string_view rel);

  const std::vector<Lock>& all() const { return locks_; }

 private:
  std::vector<Lock> locks_;
};

struct IfCondition {
  bool negated = false;
  bool is_etag = false;
  std::string value;  // a state token without its angle brackets, or an entity tag
};

struct IfGroup {
  std::optional<std::string> resource;  // the tagged address, or none for the request's own
  std::vector<std::vector<IfCondition>> lists;
};

struct IfHeader {
  std::vector<IfGroup> groups;
  // The lock tokens presented: every state token that is not negated.
  std::vector<std::string> SubmittedTokens() const;
};

// Nothing when the value does not follow the grammar.
std::optional<IfHeader> ParseIfHeader(std::string_view value);

// What a condition is tested against: the tokens of the locks covering a resource and its
// entity tag ("" when it is no file).
struct ResourceState {
  std::vector<std::string> lock_tokens;
  std::string etag;
};
using ResourceStateLookup = std::function<ResourceState(const std::optional<std::string>& tag)>;

// True when at least one list holds entirely.
bool EvaluateIfHeader(const IfHeader& header, const ResourceStateLookup& state_of);

}  // namespace qbrk::model
