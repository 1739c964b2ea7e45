// What the methods share: the request's addresses, the If header, the answers.
#include "model_methods.h"

namespace qbrk::model {

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
    for (const Lock* lock : state.locks.Covering(state.mail, at))
      found.lock_tokens.push_back(lock->token);
    if (const Resource* r = state.Find(at); r != nullptr && !r->folder) found.etag = r->ETag();
    return found;
  };
  if (EvaluateIfHeader(*if_header, state_of)) return {};
  return {412, "the If header does not hold"};
}

bool DavCall::Permits(std::string_view at, ChangeScope change) const {
  return state.locks.Permits(state.mail, at, change, tokens);
}

HandlerResponse RefusalAnswer(const Refusal& refusal) {
  HandlerResponse answer;
  answer.status = static_cast<uint32_t>(refusal.status);
  answer.headers.emplace_back("Content-Type", emulator::kPlainTextType);
  answer.body = emulator::RefusalText(refusal);
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

std::optional<std::string> ResolveOwnAddress(const DavCall& call, std::string_view address) {
  auto target = emulator::ParseDiskTarget(AddressPath(address), true);
  if (!target.ok() || target.value().user != call.state.mail) return std::nullopt;
  return std::move(target.value().path.rel);
}

std::string ActiveLockXml(const DavCall& call, const Lock& lock) {
  const bool folder = call.state.IsFolder(lock.rel);
  return emulator::ActiveLockXml(lock, call.state.NowMs(), call.Href(lock.rel, folder));
}

}  // namespace qbrk::model
