// LOCK and UNLOCK.
#include <algorithm>

#include "core/disk_path.h"
#include "dav_methods.h"
#include "dav_properties.h"
#include "dav_xml.h"

namespace qbrk::emulator {

namespace {

Response LockAnswer(const DavRequest& request, const Lock& lock) {
  Response r = XmlResponse(200, LockAnswerXml(request.charset, ActiveLockXml(request, lock)),
                           CharsetName(request.charset));
  r.headers.Add("Lock-Token", "<" + lock.token + ">");
  return r;
}

Response Refresh(DavRequest& request, int64_t seconds) {
  if (!request.if_header) return RefusalResponse({400, "a LOCK without a body refreshes a lock"});
  const Lock* lock = request.state.locks.Refresh(request.account.mail, request.rel, request.tokens,
                                                 request.state.NowMs(), seconds);
  if (lock == nullptr)
    return RefusalResponse({412, "no lock of the If header covers the resource"});
  return LockAnswer(request, *lock);
}

}  // namespace

Response DavLock(DavRequest& request, std::string body) {
  const auto depth = ParseDepth(request.head.headers.Get("Depth"), -1);
  if (!depth || *depth == 1) return RefusalResponse({400, "a lock has Depth 0 or infinity"});
  const int64_t seconds = GrantedLockSeconds(request.head.headers.Get("Timeout"),
                                             request.state.config.max_lock_seconds);
  if (body.find_first_not_of(" \t\r\n") == std::string::npos) return Refresh(request, seconds);
  auto info = ParseLockInfo(body);
  if (!info.ok()) return RefusalResponse(info.refusal());

  Account& account = request.account;
  const Node node = request.Stat(request.rel);
  if (!node.exists()) {
    // Locking a name where nothing exists reserves it; the client locks before the first
    // piece of a new file.
    if (!request.Stat(ParentOf(request.rel)).is_folder()) {
      return RefusalResponse({409, "the parent folder does not exist"});
    }
    if (!IsCreatableName(NameOf(request.rel))) {
      return RefusalResponse({400, "control characters in a name"});
    }
    if (!request.IsNullResource(request.rel) &&
        !request.Permits(request.rel, {.membership = true})) {
      return RefusalResponse({423, "the parent folder is locked"});
    }
  }
  const bool infinite = *depth == -1 && (node.is_folder() || !node.exists());
  if (request.state.locks.Conflicts(account.mail, request.rel, info.value().scope, infinite)) {
    return RefusalResponse({423, "the resource is locked"});
  }
  Lock lock;
  lock.token = NewLockToken();
  lock.user = account.mail;
  lock.rel = request.rel;
  lock.scope = info.value().scope;
  lock.infinite = infinite;
  // The client sends no owner and relies on the server naming the account.
  lock.owner_xml = info.value().has_owner ? info.value().owner_xml : XmlEscape(account.mail);
  lock.timeout_seconds = seconds;
  lock.expires_ms = request.state.NowMs() + seconds * 1000;
  lock.null_resource = !node.exists();
  const Lock copy = request.state.locks.Add(std::move(lock));
  return LockAnswer(request, copy);
}

Response DavUnlock(DavRequest& request, std::string) {
  const auto token = ParseLockTokenHeader(request.head.headers.Get("Lock-Token"));
  if (!token) return RefusalResponse({400, "Lock-Token header missing or malformed"});
  const Lock* lock = request.state.locks.Find(*token);
  // A lock that expired or was released is gone; the client counts 412 as done.
  if (lock == nullptr || lock->user != request.account.mail) {
    return RefusalResponse({412, "no such lock"});
  }
  if (!lock->Covers(request.rel)) {
    return RefusalResponse({409, "the lock does not cover this resource"});
  }
  request.state.locks.Remove(*token);
  request.state.staging.DropToken(*token);
  Response r;
  r.status = 204;
  return r;
}

}  // namespace qbrk::emulator
