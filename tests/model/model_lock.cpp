// LOCK and UNLOCK.
#include "model_methods.h"
#include "model_xml.h"

namespace qbrk::model {

namespace {

HandlerResponse LockAnswer(const DavCall& call, const Lock& lock) {
  HandlerResponse answer = XmlAnswer(
      200, emulator::LockAnswerXml(call.charset, ActiveLockXml(call, lock)), call.charset);
  answer.headers.emplace_back("Lock-Token", "<" + lock.token + ">");
  return answer;
}

// A LOCK without a body refreshes the lock named in the If header.
HandlerResponse Refresh(DavCall& call, int64_t seconds) {
  if (!call.if_header) return RefusalAnswer({400, "a LOCK without a body refreshes a lock"});
  ModelState& state = call.state;
  const Lock* lock = state.locks.Refresh(state.mail, call.rel, call.tokens, state.NowMs(), seconds);
  if (lock == nullptr) return RefusalAnswer({412, "no lock of the If header covers the resource"});
  return LockAnswer(call, *lock);
}

}  // namespace

HandlerResponse DavLock(DavCall& call) {
  ModelState& state = call.state;
  const auto depth = ParseDepth(call.Header("Depth"), -1);
  if (!depth || *depth == 1) return RefusalAnswer({400, "a lock has Depth 0 or infinity"});
  const int64_t seconds =
      emulator::GrantedLockSeconds(call.Header("Timeout"), state.config.max_lock_seconds);
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
    if (!state.locks.IsNullResource(state.mail, call.rel) &&
        !call.Permits(call.rel, {.membership = true})) {
      return RefusalAnswer({423, "the parent folder is locked"});
    }
  }
  const bool infinite = *depth == -1 && (node == nullptr || node->folder);
  if (state.locks.Conflicts(state.mail, call.rel, info.scope, infinite)) {
    return RefusalAnswer({423, "the resource is locked"});
  }
  Lock lock = state.NewLock(call.rel, seconds);
  lock.scope = info.scope;
  lock.infinite = infinite;
  // Our client sends no owner and relies on the service naming the account.
  lock.owner_xml = info.has_owner ? info.owner_xml : XmlEscape(state.mail);
  lock.null_resource = node == nullptr;
  const Lock copy = state.locks.Add(std::move(lock));
  return LockAnswer(call, copy);
}

HandlerResponse DavUnlock(DavCall& call) {
  const auto token = emulator::ParseLockTokenHeader(call.Header("Lock-Token"));
  if (!token) return RefusalAnswer({400, "Lock-Token header missing or malformed"});
  const Lock* lock = call.state.locks.Find(*token);
  // A lock that expired or was released is gone; our client counts 412 as done.
  if (lock == nullptr) return RefusalAnswer({412, "no such lock"});
  if (!lock->Covers(call.rel)) return RefusalAnswer({409, "the lock does not cover this resource"});
  call.state.locks.Remove(*token);
  call.state.DropUploads(*token);
  HandlerResponse answer;
  answer.status = 204;
  return answer;
}

}  // namespace qbrk::model
