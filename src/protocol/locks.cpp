#include "protocol/locks.h"

#include "protocol/lock_rounds.h"
#include "protocol/operation_guard.h"
#include "protocol/result_mapping.h"

namespace qbrk {

namespace {

constexpr std::string_view kLockBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
    "<D:lockinfo xmlns:D=\"DAV:\">"
    "<D:lockscope><D:exclusive/></D:lockscope>"
    "<D:locktype><D:write/></D:locktype>"
    "</D:lockinfo>";

constexpr std::string_view kDiscoveryBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
    "<propfind xmlns=\"DAV:\"><prop><lockdiscovery><activelock><owner/>"
    "<locktoken><href/></locktoken></activelock></lockdiscovery></prop></propfind>";

// A lock discovery request; 0 with the parsed multistatus, `own` for anything but 207.
ResultCode Discover(ServerSession& session, const std::string& path, std::string_view depth,
                    ResultCode own, XmlDocument* doc) {
  if (ResultCode r = session.Exchange("PROPFIND", path, {{depth}}, &kDiscoveryBody, own)) return r;
  ResultCode r = own;
  if (session.last_status() == 207) r = session.ReadXmlBody(doc, own);
  session.CloseRequest();
  return r;
}

}  // namespace

ResultCode Lock(ServerSession& session, const std::string& path, std::string* token) {
  constexpr ResultCode kOwn = result::kLockFailed;
  token->clear();
  return GuardAllocation(session, kOwn, [&] {
    const std::string timeout =
        "Timeout: Second-" + std::to_string(session.settings().LockTimeOut()) + "\r\n";
    for (int round = 1;; ++round) {
      if (ResultCode r =
              session.Exchange("LOCK", path, {{timeout}, {"Depth: 0"}}, &kLockBody, kOwn))
        return r;
      const uint32_t status = session.last_status();
      if (status == 200) {
        XmlDocument doc;
        const ResultCode r = session.ReadXmlBody(&doc, kOwn);
        session.CloseRequest();
        if (r != result::kSuccess) return r;
        return ReadLockToken(doc, token) ? result::kSuccess : kOwn;
      }
      session.CloseRequest();
      if (status != 423) return OrOwn(MapHttpStatus(status), kOwn);
      const ResultCode released = ReleaseOwnLock(session, path);
      if (released != result::kSuccess) return OrOwn(released, kOwn);
      if (round >= kMaxLockRounds) return result::kLockedByOther;
      if (session.IsCancelled()) return result::kCancelled;
    }
  });
}

ResultCode Unlock(ServerSession& session, const std::string& path, const std::string& token) {
  constexpr ResultCode kOwn = result::kUnlockFailed;
  return GuardAllocation(session, kOwn, [&] {
    const std::string header = "Lock-Token: <" + token + ">\r\n";
    if (ResultCode r = session.Exchange("UNLOCK", path, {{header}}, nullptr, kOwn)) return r;
    const uint32_t status = session.last_status();
    session.CloseRequest();
    if (status == 204 || status == 412 || status == 424) return result::kSuccess;
    return OrOwn(MapHttpStatus(status), kOwn);
  });
}

ResultCode DiscoverLock(ServerSession& session, const std::string& path, ActiveLock* lock) {
  constexpr ResultCode kOwn = result::kLockDiscoveryFailed;
  return GuardAllocation(session, kOwn, [&] {
    XmlDocument doc;
    if (ResultCode r = Discover(session, path, "Depth: 0\r\n", kOwn, &doc)) return r;
    *lock = ReadLockDiscovery(doc);
    return result::kSuccess;
  });
}

ResultCode ReleaseOwnLock(ServerSession& session, const std::string& path) {
  ActiveLock lock;
  if (ResultCode r = DiscoverLock(session, path, &lock)) return r;
  if (lock.owner != session.own_owner()) return result::kSuccess;
  return Unlock(session, path, lock.token);
}

ResultCode ReleaseOwnLocksOnDisk(ServerSession& session, const std::string& root) {
  constexpr ResultCode kOwn = result::kDiskLockDiscoveryFailed;
  return GuardAllocation(session, kOwn, [&] {
    XmlDocument doc;
    if (ResultCode r = Discover(session, root, "Depth: infinity\r\n", kOwn, &doc)) return r;
    for (const ResourceLock& entry : ReadDiskLocks(doc)) {
      if (session.IsCancelled()) return result::kCancelled;
      if (entry.lock.owner == session.own_owner()) Unlock(session, entry.href, entry.lock.token);
    }
    return result::kSuccess;
  });
}

void ReleaseSavedLock(ServerSession& session) {
  std::string path, token;
  if (!session.settings().ReadLockToken(&path, &token)) return;
  ActiveLock found;
  if (DiscoverLock(session, path, &found) != result::kSuccess) return;
  if (found.token.empty()) {
    session.settings().DeleteLockToken();
  } else if (found.token == token) {
    if (Unlock(session, path, token) == result::kSuccess) session.settings().DeleteLockToken();
  }
}

}  // namespace qbrk
