#include "dav_handler.h"

#include <mutex>

#include "auth.h"
#include "core/disk_path.h"
#include "dav_methods.h"
#include "dav_xml.h"

namespace qbrk::emulator {

namespace {

using DavMethod = Response (*)(DavRequest& request, std::string body);

struct MethodEntry {
  std::string_view name;
  DavMethod run;
  size_t body_limit;  // 0: any body is read and dropped
};

constexpr MethodEntry kMethods[] = {
    {"OPTIONS", DavOptions, 0},
    {"GET", DavGet, 0},
    {"HEAD", DavGet, 0},
    {"PROPFIND", DavPropfind, kMaxXmlBodyBytes},
    {"PROPPATCH", DavProppatch, kMaxXmlBodyBytes},
    {"MKCOL", DavMkcol, 1 << 16},
    {"DELETE", DavDelete, 0},
    {"COPY", DavCopy, 0},
    {"MOVE", DavMove, 0},
    {"LOCK", DavLock, kMaxXmlBodyBytes},
    {"UNLOCK", DavUnlock, 0},
};

// Headers every answer from a disk carries: the protocol version, and the preferred host
// when the client asks for it.
void AddServiceHeaders(ServiceState& state, bool host_asked, Response& r) {
  std::lock_guard<std::mutex> lock(state.mu);
  if (state.config.vfs_version) r.headers.Set(kVersionHeader, *state.config.vfs_version);
  if (host_asked && !state.config.preferred_host.empty()) {
    r.headers.Set(kPreferredHostHeader, state.config.preferred_host);
  }
}

std::unique_ptr<Exchange> Dispatch(ServiceState& state, RequestHead head) {
  auto target = ParseDiskTarget(head.target, true);
  Checked<Account*> account = Authenticate(state.accounts, head.headers);
  if (!account.ok()) return Fixed(Unauthorized(account.refusal()));
  if (!target.ok()) return Refuse(target.refusal());
  if (target.value().user != account.value()->mail) {
    return Refuse(
        {state.accounts.FindByDiskUser(target.value().user) ? 403 : 404, "not your disk"});
  }
  auto request = std::make_shared<DavRequest>(state, std::move(head), *account.value(),
                                              std::move(target.value().path.rel),
                                              target.value().path.trailing_slash);
  request->charset = ChosenCharset(request->head.headers.Get("Accept-Charset"));
  if (const auto value = request->head.headers.Get("If")) {
    request->if_header = ParseIfHeader(*value);
    if (!request->if_header) return Refuse({400, "malformed If header"});
    request->tokens = request->if_header->SubmittedTokens();
  }

  const std::string method = request->head.method;
  if (method == "PUT") return BeginPut(std::move(request));
  for (const MethodEntry& entry : kMethods) {
    if (entry.name != method) continue;
    return std::make_unique<BodyExchange>(
        entry.body_limit, [request, run = entry.run](std::string body) {
          std::lock_guard<std::mutex> lock(request->state.mu);
          request->state.ExpireLocks();
          if (request->trailing_slash && request->Stat(request->rel).is_file()) {
            return RefusalResponse({404, "a file is not a folder"});
          }
          if (auto refusal = request->CheckIf()) return RefusalResponse(*refusal);
          return run(*request, std::move(body));
        });
  }
  Response r = RefusalResponse({405, "method not supported"});
  r.headers.Add("Allow", kAllowedMethods);
  return Fixed(std::move(r));
}

}  // namespace

std::unique_ptr<Exchange> BeginDav(ServiceState& state, RequestHead head) {
  const bool host_asked = head.headers.Get(kPreferredHostHeader) == "*";
  return std::make_unique<AmendingExchange>(
      Dispatch(state, std::move(head)),
      [&state, host_asked](Response& r) { AddServiceHeaders(state, host_asked, r); });
}

}  // namespace qbrk::emulator
