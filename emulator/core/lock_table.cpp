#include "lock_table.h"

#include <algorithm>

#include "disk_path.h"

namespace qbrk::emulator {

namespace {

bool Contains(const std::vector<const Lock*>& locks, const Lock* lock) {
  return std::find(locks.begin(), locks.end(), lock) != locks.end();
}

bool Presented(const std::vector<std::string>& tokens, std::string_view token) {
  return std::find(tokens.begin(), tokens.end(), token) != tokens.end();
}

}  // namespace

bool Lock::Covers(std::string_view at) const {
  return rel == at || (infinite && IsWithin(at, rel));
}

int64_t Lock::SecondsLeft(int64_t now_ms) const {
  const int64_t left_ms = expires_ms - now_ms;
  return left_ms <= 0 ? 0 : (left_ms + 999) / 1000;
}

std::vector<Lock> LockTable::Expire(int64_t now_ms) {
  std::vector<Lock> expired;
  for (auto it = locks_.begin(); it != locks_.end();) {
    if (it->expires_ms <= now_ms) {
      expired.push_back(std::move(*it));
      it = locks_.erase(it);
    } else {
      ++it;
    }
  }
  return expired;
}

const Lock* LockTable::Find(std::string_view token) const {
  for (const Lock& lock : locks_) {
    if (lock.token == token) return &lock;
  }
  return nullptr;
}

Lock* LockTable::FindMutable(std::string_view token) {
  return const_cast<Lock*>(static_cast<const LockTable*>(this)->Find(token));
}

std::vector<const Lock*> LockTable::Covering(std::string_view user, std::string_view rel) const {
  std::vector<const Lock*> out;
  for (const Lock& lock : locks_) {
    if (lock.user == user && lock.Covers(rel)) out.push_back(&lock);
  }
  return out;
}

std::vector<const Lock*> LockTable::Inside(std::string_view user, std::string_view rel) const {
  std::vector<const Lock*> out;
  for (const Lock& lock : locks_) {
    if (lock.user == user && IsWithin(lock.rel, rel)) out.push_back(&lock);
  }
  return out;
}

bool LockTable::Conflicts(std::string_view user, std::string_view rel, LockScope scope,
                          bool infinite) const {
  std::vector<const Lock*> held = Covering(user, rel);
  if (infinite) {
    for (const Lock* lock : Inside(user, rel)) {
      if (!Contains(held, lock)) held.push_back(lock);
    }
  }
  return std::any_of(held.begin(), held.end(), [&](const Lock* lock) {
    return scope == LockScope::kExclusive || lock->scope == LockScope::kExclusive;
  });
}

bool LockTable::Permits(std::string_view user, std::string_view rel, ChangeScope change,
                        const std::vector<std::string>& tokens) const {
  if (locks_.empty()) return true;  // the common case, made cheap
  std::vector<const Lock*> protecting = Covering(user, rel);
  auto add = [&](const std::vector<const Lock*>& more) {
    for (const Lock* lock : more) {
      if (!Contains(protecting, lock)) protecting.push_back(lock);
    }
  };
  if (change.membership && !rel.empty()) add(Covering(user, ParentOf(rel)));
  if (change.subtree) add(Inside(user, rel));

  const bool shared_presented = std::any_of(protecting.begin(), protecting.end(), [&](auto* l) {
    return l->scope == LockScope::kShared && Presented(tokens, l->token);
  });
  return std::all_of(protecting.begin(), protecting.end(), [&](const Lock* lock) {
    return Presented(tokens, lock->token) ||
           (lock->scope == LockScope::kShared && shared_presented);
  });
}

const Lock* LockTable::PresentedCovering(std::string_view user, std::string_view rel,
                                         const std::vector<std::string>& tokens) const {
  for (const Lock* lock : Covering(user, rel)) {
    if (Presented(tokens, lock->token)) return lock;
  }
  return nullptr;
}

Lock* LockTable::Refresh(std::string_view user, std::string_view rel,
                         const std::vector<std::string>& tokens, int64_t now_ms, int64_t seconds) {
  for (const std::string& token : tokens) {
    Lock* lock = FindMutable(token);
    if (lock == nullptr || lock->user != user || !lock->Covers(rel)) continue;
    lock->timeout_seconds = seconds;
    lock->expires_ms = now_ms + seconds * 1000;
    return lock;
  }
  return nullptr;
}

const Lock& LockTable::Add(Lock lock) {
  locks_.push_back(std::move(lock));
  return locks_.back();
}

bool LockTable::Remove(std::string_view token) {
  return std::erase_if(locks_, [&](const Lock& lock) { return lock.token == token; }) > 0;
}

std::vector<Lock> LockTable::RemoveInside(std::string_view user, std::string_view rel) {
  std::vector<Lock> removed;
  for (auto it = locks_.begin(); it != locks_.end();) {
    if (it->user == user && IsWithin(it->rel, rel)) {
      removed.push_back(std::move(*it));
      it = locks_.erase(it);
    } else {
      ++it;
    }
  }
  return removed;
}

bool LockTable::IsNullResource(std::string_view user, std::string_view rel) const {
  return std::any_of(locks_.begin(), locks_.end(), [&](const Lock& lock) {
    return lock.user == user && lock.rel == rel && lock.null_resource;
  });
}

std::vector<std::string> LockTable::NullResourcesIn(std::string_view user,
                                                    std::string_view parent) const {
  std::vector<std::string> names;
  for (const Lock& lock : locks_) {
    if (lock.user != user || !lock.null_resource || lock.rel.empty()) continue;
    if (ParentOf(lock.rel) != parent) continue;
    std::string name = NameOf(lock.rel);
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void LockTable::Materialize(std::string_view user, std::string_view rel) {
  for (Lock& lock : locks_) {
    if (lock.user == user && lock.rel == rel) lock.null_resource = false;
  }
}

}  // namespace qbrk::emulator
