#include "model_state.h"

#include <algorithm>

namespace qbrk::model {

namespace {

// Keys at or below rel: the map keeps them in one run starting at rel.
template <typename Map, typename Visit>
void ForEachWithin(Map& resources, std::string_view rel, Visit visit) {
  for (auto it = resources.lower_bound(rel);
       it != resources.end() && it->first.compare(0, rel.size(), rel) == 0; ++it) {
    if (IsWithin(it->first, rel)) visit(it);
  }
}

}  // namespace

std::string Resource::ETag() const {
  std::string tag = "\"";
  AppendHex(&tag, version);
  tag += '-';
  AppendHex(&tag, size());
  return tag + '"';
}

const std::string& Resource::Date() const {
  if (date_.empty() || date_of_ != time) {
    date_ = HttpDate(time);
    date_of_ = time;
  }
  return date_;
}

uint64_t ModelState::ReadClock() {
  const uint64_t reading = clock ? clock() : fixed_now;
  now = reading - reading % kFileTimeTicksPerSecond;
  return now;
}

const Resource* ModelState::Find(std::string_view rel) const {
  auto it = resources.find(rel);
  return it == resources.end() ? nullptr : &it->second;
}

bool ModelState::IsFile(std::string_view rel) const {
  const Resource* r = Find(rel);
  return r != nullptr && !r->folder;
}

bool ModelState::IsFolder(std::string_view rel) const {
  const Resource* r = Find(rel);
  return r != nullptr && r->folder;
}

std::vector<std::string> ModelState::Children(std::string_view rel) const {
  std::vector<std::string> names;
  const std::string prefix = rel.empty() ? std::string() : std::string(rel) + "/";
  for (auto it = resources.lower_bound(prefix);
       it != resources.end() && it->first.compare(0, prefix.size(), prefix) == 0; ++it) {
    if (it->first.size() == prefix.size()) continue;  // the root itself
    const std::string_view name = std::string_view(it->first).substr(prefix.size());
    if (name.find('/') == std::string_view::npos) names.emplace_back(name);
  }
  return names;
}

uint64_t ModelState::TreeBytes(std::string_view rel) const {
  uint64_t total = 0;
  ForEachWithin(resources, rel, [&](auto it) { total += it->second.size(); });
  return total;
}

bool ModelState::Fits(uint64_t old_bytes, uint64_t new_bytes) const {
  return used - std::min(used, old_bytes) + new_bytes <= config.quota;
}

void ModelState::InstallFile(const std::string& rel, std::string bytes, uint64_t time,
                             bool touch_parent) {
  Resource& file = resources[rel];
  used = used - std::min(used, file.size()) + bytes.size();
  file.folder = false;
  file.content = std::move(bytes);
  file.time = time;
  file.version = next_version++;
  locks.Materialize(mail, rel);
  if (touch_parent) resources[ParentOf(rel)].time = Now();
}

void ModelState::MakeFolder(const std::string& rel, uint64_t time, bool touch_parent) {
  Resource& folder = resources[rel];
  folder.folder = true;
  folder.time = time;
  folder.version = next_version++;
  locks.Materialize(mail, rel);
  if (touch_parent) resources[ParentOf(rel)].time = Now();
}

void ModelState::RemoveTree(const std::string& rel, bool touch_parent) {
  std::vector<std::string> gone;
  ForEachWithin(resources, rel, [&](auto it) {
    used -= std::min(used, it->second.size());
    gone.push_back(it->first);
  });
  for (const std::string& key : gone)
    resources.erase(key);
  for (const Lock& lock : locks.RemoveInside(mail, rel))
    DropUploads(lock.token);
  std::erase_if(staging, [&](const StagedUpload& u) { return IsWithin(u.rel, rel); });
  if (touch_parent && !rel.empty()) resources[ParentOf(rel)].time = Now();
}

void ModelState::ExpireLocks() {
  for (const Lock& lock : locks.Expire(NowMs()))
    DropUploads(lock.token);
}

void ModelState::DropUploads(std::string_view token) {
  std::erase_if(staging, [&](const StagedUpload& u) { return u.token == token; });
}

StagedUpload* ModelState::FindUpload(std::string_view token, std::string_view rel) {
  for (StagedUpload& u : staging) {
    if (u.token == token && u.rel == rel) return &u;
  }
  return nullptr;
}

Lock ModelState::NewLock(std::string rel, int64_t seconds) {
  Lock lock;
  // Shaped as the service's random version 4 UUIDs, but counted, so that runs repeat.
  lock.token = "opaquelocktoken:00000000-0000-4000-8000-";
  AppendHex(&lock.token, next_token++, 12);
  lock.user = mail;
  lock.rel = std::move(rel);
  lock.timeout_seconds = seconds;
  lock.expires_ms = NowMs() + seconds * 1000;
  return lock;
}

}  // namespace qbrk::model
