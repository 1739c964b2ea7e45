#include "model_locks.h"

#include <algorithm>

#include "model_text.h"

namespace qbrk::model {

namespace {

bool Contains(const std::vector<const Lock*>& locks, const Lock* lock) {
  return std::find(locks.begin(), locks.end(), lock) != locks.end();
}

bool Presented(const std::vector<std::string>& tokens, std::string_view token) {
  return std::find(tokens.begin(), tokens.end(), token) != tokens.end();
}

// Takes "(...)" lists, optionally tagged "<address> (...)", apart.
class IfParser {
 public:
  explicit IfParser(std::string_view text) : text_(text) {}

  std::optional<IfHeader> Parse() {
    IfHeader header;
    SkipSpace();
    if (AtEnd()) return std::nullopt;
    const bool tagged = Peek() == '<';
    while (!AtEnd()) {
      IfGroup group;
      if (tagged) {
        auto resource = Delimited('<', '>');
        if (!resource) return std::nullopt;
        group.resource = std::move(*resource);
        SkipSpace();
      }
      while (!AtEnd() && Peek() == '(') {
        auto list = ParseList();
        if (!list) return std::nullopt;
        group.lists.push_back(std::move(*list));
        SkipSpace();
      }
      if (group.lists.empty()) return std::nullopt;
      header.groups.push_back(std::move(group));
      // An untagged header is one group; a tagged header repeats "<tag> (list)...".
      if (!AtEnd() && (!tagged || Peek() != '<')) return std::nullopt;
    }
    return header;
  }

 private:
  bool AtEnd() const { return pos_ >= text_.size(); }
  char Peek() const { return text_[pos_]; }
  void SkipSpace() {
    while (!AtEnd() && (Peek() == ' ' || Peek() == '\t'))
      ++pos_;
  }

  std::optional<std::string> Delimited(char open, char close) {
    if (AtEnd() || Peek() != open) return std::nullopt;
    const size_t end = text_.find(close, pos_ + 1);
    if (end == std::string_view::npos) return std::nullopt;
    std::string inner(text_.substr(pos_ + 1, end - pos_ - 1));
    pos_ = end + 1;
    return inner;
  }

  std::optional<std::vector<IfCondition>> ParseList() {
    ++pos_;  // "("
    std::vector<IfCondition> list;
    for (;;) {
      SkipSpace();
      if (AtEnd()) return std::nullopt;
      if (Peek() == ')') {
        ++pos_;
        break;
      }
      IfCondition condition;
      if (text_.substr(pos_, 3) == "Not") {
        condition.negated = true;
        pos_ += 3;
        SkipSpace();
        if (AtEnd()) return std::nullopt;
      }
      condition.is_etag = Peek() == '[';
      auto value = condition.is_etag ? Delimited('[', ']') : Delimited('<', '>');
      if (!value || value->empty()) return std::nullopt;
      condition.value = std::move(*value);
      list.push_back(std::move(condition));
    }
    if (list.empty()) return std::nullopt;
    return list;
  }

  std::string_view text_;
  size_t pos_ = 0;
};

bool Holds(const IfCondition& condition, const ResourceState& state) {
  bool matches;
  if (condition.is_etag) {
    matches = !state.etag.empty() && condition.value == state.etag;
  } else {
    matches = std::find(state.lock_tokens.begin(), state.lock_tokens.end(), condition.value) !=
              state.lock_tokens.end();
  }
  return matches != condition.negated;
}

}  // namespace

std::vector<std::string> LockTable::Expire(uint64_t now) {
  std::vector<std::string> expired;
  std::erase_if(locks_, [&](const Lock& lock) {
    if (lock.expires > now) return false;
    expired.push_back(lock.token);
    return true;
  });
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

std::vector<const Lock*> LockTable::Covering(std::string_view rel) const {
  std::vector<const Lock*> out;
  for (const Lock& lock : locks_) {
    if (lock.rel == rel || (lock.infinite && IsWithin(rel, lock.rel))) out.push_back(&lock);
  }
  return out;
}

std::vector<const Lock*> LockTable::Inside(std::string_view rel) const {
  std::vector<const Lock*> out;
  for (const Lock& lock : locks_) {
    if (IsWithin(lock.rel, rel)) out.push_back(&lock);
  }
  return out;
}

bool LockTable::Conflicts(std::string_view rel, LockScope scope, bool infinite) const {
  std::vector<const Lock*> held = Covering(rel);
  if (infinite) {
    for (const Lock* lock : Inside(rel)) {
      if (!Contains(held, lock)) held.push_back(lock);
    }
  }
  return std::any_of(held.begin(), held.end(), [&](const Lock* lock) {
    return scope == LockScope::kExclusive || lock->scope == LockScope::kExclusive;
  });
}

bool LockTable::Permits(std::string_view rel, ChangeScope change,
                        const std::vector<std::string>& tokens) const {
  if (locks_.empty()) return true;
  std::vector<const Lock*> protecting = Covering(rel);
  auto add = [&](const std::vector<const Lock*>& more) {
    for (const Lock* lock : more) {
      if (!Contains(protecting, lock)) protecting.push_back(lock);
    }
  };
  if (change.membership && !rel.empty()) add(Covering(ParentOf(rel)));
  if (change.subtree) add(Inside(rel));
  const bool shared_presented = std::any_of(protecting.begin(), protecting.end(), [&](auto* l) {
    return l->scope == LockScope::kShared && Presented(tokens, l->token);
  });
  return std::all_of(protecting.begin(), protecting.end(), [&](const Lock* lock) {
    return Presented(tokens, lock->token) ||
           (lock->scope == LockScope::kShared && shared_presented);
  });
}

const Lock& LockTable::Add(Lock lock) {
  locks_.push_back(std::move(lock));
  return locks_.back();
}

bool LockTable::Remove(std::string_view token) {
  return std::erase_if(locks_, [&](const Lock& lock) { return lock.token == token; }) > 0;
}

std::vector<std::string> LockTable::RemoveInside(std::string_view rel) {
  std::vector<std::string> removed;
  std::erase_if(locks_, [&](const Lock& lock) {
    if (!IsWithin(lock.rel, rel)) return false;
    removed.push_back(lock.token);
    return true;
  });
  return removed;
}

bool LockTable::IsNullResource(std::string_view rel) const {
  return std::any_of(locks_.begin(), locks_.end(),
                     [&](const Lock& lock) { return lock.rel == rel && lock.null_resource; });
}

std::vector<std::string> LockTable::NullResourcesIn(std::string_view parent) const {
  std::vector<std::string> names;
  for (const Lock& lock : locks_) {
    if (!lock.null_resource || lock.rel.empty() || ParentOf(lock.rel) != parent) continue;
    std::string name = NameOf(lock.rel);
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void LockTable::Materialize(std::string_view rel) {
  for (Lock& lock : locks_) {
    if (lock.rel == rel) lock.null_resource = false;
  }
}

std::vector<std::string> IfHeader::SubmittedTokens() const {
  std::vector<std::string> tokens;
  for (const IfGroup& group : groups) {
    for (const auto& list : group.lists) {
      for (const IfCondition& c : list) {
        if (!c.negated && !c.is_etag) tokens.push_back(c.value);
      }
    }
  }
  return tokens;
}

std::optional<IfHeader> ParseIfHeader(std::string_view value) {
  return IfParser(value).Parse();
}

bool EvaluateIfHeader(const IfHeader& header, const ResourceStateLookup& state_of) {
  for (const IfGroup& group : header.groups) {
    const ResourceState state = state_of(group.resource);
    for (const auto& list : group.lists) {
      if (std::all_of(list.begin(), list.end(),
                      [&](const IfCondition& c) { return Holds(c, state); })) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace qbrk::model
