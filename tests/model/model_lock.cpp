// LOCK and UNLOCK.
#include <algorithm>

#include "common/file_time.h"
#include "model_methods.h"
#include "model_xml.h"

namespace qbrk::model {

namespace {

constexpr int64_t kDefaultLockSeconds = 3600;

std::vector<std::string_view> SplitWords(std::string_view line) {
  std::vector<std::string_view> words;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t' || line[i] == '\r'))
      ++i;
    const size_t start = i;
    while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r')
      ++i;
    if (i > start) words.push_back(line.substr(start, i - start));
  }
  return words;
}

// "Timeout: Second-N" (or a list of choices): the first usable one, capped.
int64_t GrantedSeconds(const DavCall& call) {
  const int64_t max_seconds = call.state.config.max_lock_seconds;
  const auto value = call.Header("Timeout");
  if (!value) return std::min(kDefaultLockSeconds, max_seconds);
  for (std::string_view choice : SplitWords(*value)) {
    if (!choice.empty() && choice.back() == ',') choice.remove_suffix(1);
    if (EqualsAsciiNoCase(choice, "Infinite")) return max_seconds;
    if (choice.size() > 7 && EqualsAsciiNoCase(choice.substr(0, 7), "Second-")) {
      uint64_t seconds = 0;
      const std::string_view digits = choice.substr(7);
      bool ok = !digits.empty() && digits.size() <= 19;
      for (const char c : digits) {
        ok = ok && c >= '0' && c <= '9';
        if (ok) seconds = seconds * 10 + static_cast<uint64_t>(c - '0');
      }
      if (ok && seconds > 0) {
        return static_cast<int64_t>(std::min<uint64_t>(seconds, max_seconds));
      }
    }
  }
  return std::min(kDefaultLockSeconds, max_seconds);
}

uint64_t ExpiryAfter(const DavCall& call, int64_t seconds) {
  return call.state.Now() + static_cast<uint64_t>(seconds) * kFileTimeTicksPerSecond;
}

HandlerResponse LockAnswer(const DavCall& call, const Lock& lock) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"" + std::string(CharsetName(call.charset)) +
                    "\"?>\n<D:prop xmlns:D=\"DAV:\"><D:lockdiscovery>" + ActiveLockXml(call, lock) +
                    "</D:lockdiscovery></D:prop>\n";
  HandlerResponse answer = XmlAnswer(200, std::move(xml), call.charset);
  answer.headers.emplace_back("Lock-Token", "<" + lock.token + ">");
  return answer;
}

bool Covers(const Lock& lock, std::string_view rel) {
  return lock.rel == rel || (lock.infinite && IsWithin(rel, lock.rel));
}

// A LOCK without a body refreshes the lock named in the If header.
HandlerResponse Refresh(DavCall& call, int64_t seconds) {
  if (!call.if_header) return RefusalAnswer({400, "a LOCK without a body refreshes a lock"});
  for (const std::string& token : call.tokens) {
    Lock* lock = call.state.locks.FindMutable(token);
    if (lock == nullptr || !Covers(*lock, call.rel)) continue;
    lock->expires = ExpiryAfter(call, seconds);
    return LockAnswer(call, *lock);
  }
  return RefusalAnswer({412, "no lock of the If header covers the resource"});
}

}  // namespace

HandlerResponse DavLock(DavCall& call) {
  ModelState& state = call.state;
  const auto depth = ParseDepth(call, -1);
  if (!depth || *depth == 1) return RefusalAnswer({400, "a lock has Depth 0 or infinity"});
  const int64_t seconds = GrantedSeconds(call);
  const std::string& body = call.request.body;
  if (body.find_first_not_of(" \t\r\n") == std::string::npos) return Refresh(call, seconds);
  LockRequest info;
  if (Refusal r = ReadLockInfo(body, &info)) return RefusalAnswer(r);

  const Resource* node = state.Find(call.rel);
  if (node == nullptr) {
    // Locking a name where nothing exists reserves it; our client locks a new file before
    // its first piece.
    if (!state.IsFolder(ParentOf(call.rel))) {
      return RefusalAnswer({409, "the parent folder does not exist"});
    }
    if (!IsCreatableName(NameOf(call.rel))) {
      return RefusalAnswer({400, "control characters in a name"});
    }
    if (!state.locks.IsNullResource(call.rel) && !call.Permits(call.rel, {.membership = true})) {
      return RefusalAnswer({423, "the parent folder is locked"});
    }
  }
  const bool infinite = *depth == -1 && (node == nullptr || node->folder);
  if (state.locks.Conflicts(call.rel, info.scope, infinite)) {
    return RefusalAnswer({423, "the resource is locked"});
  }
  Lock lock;
  lock.token = state.NewLockToken();
  lock.rel = call.rel;
  lock.scope = info.scope;
  lock.infinite = infinite;
  // Our client sends no owner and relies on the service naming the account.
  lock.owner_xml = info.has_owner ? info.owner_xml : XmlEscape(state.mail);
  lock.expires = ExpiryAfter(call, seconds);
  lock.null_resource = node == nullptr;
  const Lock copy = state.locks.Add(std::move(lock));
  return LockAnswer(call, copy);
}

HandlerResponse DavUnlock(DavCall& call) {
  const auto header = call.Header("Lock-Token");
  if (!header || header->size() < 3 || header->front() != '<' || header->back() != '>') {
    return RefusalAnswer({400, "Lock-Token header missing or malformed"});
  }
  const std::string token(header->substr(1, header->size() - 2));
  const Lock* lock = call.state.locks.Find(token);
  // A lock that expired or was released is gone; our client counts 412 as done.
  if (lock == nullptr) return RefusalAnswer({412, "no such lock"});
  if (!Covers(*lock, call.rel))
    return RefusalAnswer({409, "the lock does not cover this resource"});
  call.state.locks.Remove(token);
  call.state.DropUploads(token);
  HandlerResponse answer;
  answer.status = 204;
  return answer;
}

}  // namespace qbrk::model
