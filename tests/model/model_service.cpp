#include "model_service.h"

#include <exception>

#include "common/file_time.h"
#include "model_methods.h"
#include "model_state.h"
#include "model_text.h"
#include "protocol/service.h"

namespace qbrk::model {

namespace {

using Method = HandlerResponse (*)(DavCall& call);

struct MethodEntry {
  std::string_view name;
  Method run;
  size_t body_limit;  // 0: any body is dropped
};

constexpr MethodEntry kMethods[] = {
    {"OPTIONS", DavOptions, 0},
    {"GET", DavGet, 0},
    {"HEAD", DavGet, 0},
    {"PROPFIND", DavPropfind, kMaxXmlBodyBytes},
    {"PROPPATCH", DavProppatch, kMaxXmlBodyBytes},
    {"MKCOL", DavMkcol, 1 << 16},
    {"DELETE", DavDelete, 0},
    {"LOCK", DavLock, kMaxXmlBodyBytes},
    {"UNLOCK", DavUnlock, 0},
};

// Basic credentials of the one account: 401 when missing or wrong, 400 when malformed.
Refusal Authenticate(ModelState& state, const HandlerRequest& request) {
  const auto header = FindHeader(request.headers, "Authorization");
  // Our client sends the same header every time: what was found right once is not decoded
  // again.
  if (header && *header == state.accepted_authorization) return {};
  auto credentials = emulator::ParseBasicCredentials(header);
  if (!credentials.ok()) return credentials.refusal();
  if (!EqualsIgnoringAsciiCase(credentials.value().user, state.config.user) ||
      credentials.value().password != state.config.password) {
    return {401, "wrong user name or password"};
  }
  state.accepted_authorization = std::string(*header);
  return {};
}

HandlerResponse Dispatch(ModelState& state, const HandlerRequest& request, std::string_view path) {
  auto target = emulator::ParseDiskTarget(path, true);
  if (Refusal r = Authenticate(state, request)) {
    HandlerResponse answer = RefusalAnswer(r);
    if (r.status == 401) answer.headers.emplace_back("WWW-Authenticate", emulator::kBasicChallenge);
    return answer;
  }
  if (!target.ok()) return RefusalAnswer(target.refusal());
  // One account: another disk is not there at all (the emulator says 403 when it is someone
  // else's).
  if (target.value().user != state.mail) return RefusalAnswer({404, "not your disk"});
  DavCall call{state, request, std::move(target.value().path.rel),
               target.value().path.trailing_slash};
  call.charset = ChosenCharset(call.Header("Accept-Charset"));
  if (const auto value = call.Header("If")) {
    call.if_header = ParseIfHeader(*value);
    if (!call.if_header) return RefusalAnswer({400, "malformed If header"});
    call.tokens = call.if_header->SubmittedTokens();
  }
  const std::string& method = request.method;
  if (method == "PUT") return DavPut(call);
  if (method == "COPY" || method == "MOVE") {
    return RefusalAnswer({501, "the model neither copies nor moves"});
  }
  for (const MethodEntry& entry : kMethods) {
    if (entry.name != method) continue;
    if (entry.body_limit != 0 && request.body.size() > entry.body_limit) {
      return RefusalAnswer({413, "request body too large"});
    }
    state.ExpireLocks();
    if (call.trailing_slash && state.IsFile(call.rel)) {
      return RefusalAnswer({404, "a file is not a folder"});
    }
    if (Refusal r = call.CheckIf()) return RefusalAnswer(r);
    return entry.run(call);
  }
  HandlerResponse answer = RefusalAnswer({405, "method not supported"});
  answer.headers.emplace_back("Allow", kAllowedMethods);
  return answer;
}

// Headers every answer from a disk carries: the protocol version, and the preferred host when
// the client asks for it.
void AddServiceHeaders(const ModelState& state, const HandlerRequest& request,
                       HandlerResponse* answer) {
  if (state.config.vfs_version) {
    answer->headers.emplace_back(kVersionHeader, *state.config.vfs_version);
  }
  if (FindHeader(request.headers, kPreferredHostHeader) == "*" &&
      !state.config.preferred_host.empty()) {
    answer->headers.emplace_back(kPreferredHostHeader, state.config.preferred_host);
  }
}

}  // namespace

ModelService::ModelService(ModelConfig config) : state_(std::make_unique<ModelState>()) {
  state_->config = std::move(config);
  state_->mail = LowerAscii(state_->config.user);
  state_->disk_path = "/~" + state_->mail + "/file/";
  for (const Charset charset : {Charset::kUtf8, Charset::kShiftJis})
    state_->disk_href[static_cast<int>(charset)] = HrefText(state_->disk_path, charset);
  state_->fixed_now = kDefaultNow;
  state_->ReadClock();
  state_->MakeFolder("", kDefaultNow, false);
}

ModelService::~ModelService() = default;

HandlerResponse ModelService::Handle(const HandlerRequest& request) {
  HandlerResponse answer;
  state_->ReadClock();
  try {
    // A query is no part of the path: the service's HTTP server takes it off. Our client
    // escapes no "?", so a name holding one loses what follows it.
    const std::string_view path = std::string_view(request.path).substr(0, request.path.find('?'));
    if (path.starts_with("/~")) {
      answer = Dispatch(*state_, request, path);
      AddServiceHeaders(*state_, request, &answer);
    } else {
      answer = RefusalAnswer({404, "nothing here"});
    }
  } catch (const std::exception& e) {
    answer = RefusalAnswer({500, e.what()});
  }
  answer.headers.emplace_back("Content-Length", std::to_string(answer.body.size()));
  if (request.method == "HEAD") answer.body.clear();
  return answer;
}

RequestHandler ModelService::Handler() {
  return [this](const HandlerRequest& request) { return Handle(request); };
}

void ModelService::set_clock(std::function<uint64_t()> clock) {
  state_->clock = std::move(clock);
}

void ModelService::set_now(uint64_t file_time) {
  state_->clock = nullptr;
  state_->fixed_now = file_time;
}

void ModelService::Advance(int64_t seconds) {
  set_now(Now() + static_cast<uint64_t>(seconds) * kFileTimeTicksPerSecond);
}

uint64_t ModelService::Now() const {
  return state_->ReadClock();
}

bool ModelService::PutFile(const std::string& path, std::string bytes, uint64_t time) {
  if (path.empty() || !state_->IsFolder(ParentOf(path)) || state_->IsFolder(path)) return false;
  state_->InstallFile(path, std::move(bytes), time, false);
  return true;
}

std::optional<TreeEntry> ModelService::GetFile(const std::string& path) const {
  const Resource* r = state_->Find(path);
  if (r == nullptr || r->folder) return std::nullopt;
  return TreeEntry{false, r->content, r->time};
}

bool ModelService::MakeFolder(const std::string& path, uint64_t time) {
  if (path.empty() || state_->Find(path) || !state_->IsFolder(ParentOf(path))) return false;
  state_->MakeFolder(path, time, false);
  return true;
}

bool ModelService::Remove(const std::string& path) {
  if (path.empty() || !state_->Find(path)) return false;
  state_->RemoveTree(path, false);
  return true;
}

Tree ModelService::List() const {
  Tree tree;
  for (const auto& [path, r] : state_->resources) {
    if (path.empty()) continue;
    tree.emplace(path, TreeEntry{r.folder, r.content, r.time});
  }
  return tree;
}

std::string ModelService::HoldLock(const std::string& path, const LockOptions& options) {
  ModelState& state = *state_;
  state.ReadClock();
  state.ExpireLocks();
  const LockScope scope = options.shared ? LockScope::kShared : LockScope::kExclusive;
  if (state.locks.Conflicts(state.mail, path, scope, options.infinite)) return {};
  Lock lock = state.NewLock(path, options.seconds);
  lock.scope = scope;
  lock.infinite = options.infinite;
  lock.owner_xml = XmlEscape(options.owner);
  lock.null_resource = state.Find(path) == nullptr;
  return state.locks.Add(std::move(lock)).token;
}

std::vector<LockInfo> ModelService::Locks() const {
  std::vector<LockInfo> out;
  for (const Lock& lock : state_->locks.all()) {
    const uint64_t expires =
        static_cast<uint64_t>(lock.expires_ms) * (kFileTimeTicksPerSecond / 1000);
    out.push_back({lock.rel, lock.owner_xml, lock.token, lock.infinite,
                   lock.scope == LockScope::kShared, expires});
  }
  return out;
}

void ModelService::ReleaseLocks() {
  state_->locks.RemoveInside(state_->mail, "");
  state_->staging.clear();
}

void ModelService::set_quota(uint64_t bytes) {
  state_->config.quota = bytes;
}

uint64_t ModelService::quota() const {
  return state_->config.quota;
}

uint64_t ModelService::used() const {
  return state_->used;
}

std::string ModelService::disk_root() const {
  return state_->disk_path;
}

const ModelConfig& ModelService::config() const {
  return state_->config;
}

void ModelService::set_vfs_version(std::optional<std::string> version) {
  state_->config.vfs_version = std::move(version);
}

void ModelService::set_preferred_host(std::string host) {
  state_->config.preferred_host = std::move(host);
}

}  // namespace qbrk::model
