// What the methods share: the request's headers and addresses, the If header, the answers.
#include "common/file_time.h"
#include "model_methods.h"
#include "model_xml.h"

namespace qbrk::model {

std::optional<std::string_view> DavCall::Header(std::string_view name) const {
  for (const auto& [key, value] : request.headers) {
    if (EqualsAsciiNoCase(key, name)) return std::string_view(value);
  }
  return std::nullopt;
}

std::string DavCall::Path(std::string_view at, bool folder) const {
  std::string path = state.disk_path + std::string(at);
  if (folder && !at.empty()) path += '/';
  return path;
}

std::string DavCall::Href(std::string_view at, bool folder) const {
  std::string out;
  AppendHref(&out, at, folder);
  return out;
}

void DavCall::AppendHref(std::string* out, std::string_view at, bool folder) const {
  *out += state.disk_href[static_cast<int>(charset)];
  AppendHrefText(out, at, charset);
  if (folder && !at.empty()) *out += '/';
}

Refusal DavCall::CheckIf() const {
  if (!if_header) return {};
  auto state_of = [&](const std::optional<std::string>& tag) {
    ResourceState found;
    std::string at = rel;
    if (tag) {
      auto resolved = ResolveOwnAddress(*this, *tag);
      if (!resolved) return found;
      at = std::move(*resolved);
    }
    for (const Lock* lock : state.locks.Covering(at))
      found.lock_tokens.push_back(lock->token);
    if (const Resource* r = state.Find(at); r != nullptr && !r->folder) found.etag = r->ETag();
    return found;
  };
  if (EvaluateIfHeader(*if_header, state_of)) return {};
  return {412, "the If header does not hold"};
}

bool DavCall::Permits(std::string_view at, ChangeScope change) const {
  return state.locks.Permits(at, change, tokens);
}

HandlerResponse RefusalAnswer(const Refusal& refusal) {
  HandlerResponse answer;
  answer.status = refusal.status;
  answer.headers.emplace_back("Content-Type", "text/plain; charset=Shift_JIS");
  answer.body = std::string(ReasonPhrase(refusal.status));
  if (!refusal.reason.empty()) answer.body += ": " + refusal.reason;
  answer.body += '\n';
  return answer;
}

HandlerResponse XmlAnswer(uint32_t status, std::string xml, Charset charset) {
  HandlerResponse answer;
  answer.status = status;
  answer.headers.emplace_back(
      "Content-Type", "application/xml; charset=\"" + std::string(CharsetName(charset)) + "\"");
  answer.body = std::move(xml);
  return answer;
}

std::optional<int> ParseDepth(const DavCall& call, int fallback) {
  const auto value = call.Header("Depth");
  if (!value) return fallback;
  if (*value == "0") return 0;
  if (*value == "1") return 1;
  if (EqualsAsciiNoCase(*value, "infinity")) return -1;
  return std::nullopt;
}

std::optional<std::string> ResolveOwnAddress(const DavCall& call, std::string_view address) {
  const size_t scheme = address.find("://");
  if (scheme != std::string_view::npos) {
    const size_t path = address.find('/', scheme + 3);
    address = path == std::string_view::npos ? std::string_view("/") : address.substr(path);
  }
  DiskTarget target;
  if (ParseDiskTarget(address, &target)) return std::nullopt;
  if (target.user != call.state.mail) return std::nullopt;
  return target.rel;
}

std::string ActiveLockXml(const DavCall& call, const Lock& lock) {
  const uint64_t now = call.state.Now();
  const uint64_t left_ticks = lock.expires > now ? lock.expires - now : 0;
  const uint64_t left = (left_ticks + kFileTimeTicksPerSecond - 1) / kFileTimeTicksPerSecond;
  const bool folder = call.state.IsFolder(lock.rel);
  return Dav(
      "activelock",
      Dav("locktype", "<D:write/>") +
          Dav("lockscope", lock.scope == LockScope::kExclusive ? "<D:exclusive/>" : "<D:shared/>") +
          Dav("depth", lock.infinite ? "infinity" : "0") + Dav("owner", lock.owner_xml) +
          Dav("timeout", "Second-" + std::to_string(left)) +
          Dav("locktoken", Dav("href", XmlEscape(lock.token))) +
          Dav("lockroot", Dav("href", call.Href(lock.rel, folder))));
}

}  // namespace qbrk::model
