#include "dav_request.h"

#include "core/disk_path.h"

namespace qbrk::emulator {

std::string DavRequest::Path(std::string_view at, bool folder) const {
  std::string path = DiskRootHref(account.mail) + std::string(at);
  if (folder && !at.empty()) path += '/';
  return path;
}

std::string DavRequest::HrefXml(std::string_view at, bool folder) const {
  return HrefText(Path(at, folder), charset);
}

std::optional<Refusal> DavRequest::CheckIf() const {
  if (!if_header) return std::nullopt;
  auto state_of = [&](const std::optional<std::string>& tag) {
    ResourceState found;
    std::string at = rel;
    if (tag) {
      auto resolved = ResolveOwnAddress(*this, *tag);
      if (!resolved.ok()) return found;
      at = resolved.value().rel;
    }
    for (const Lock* lock : state.locks.Covering(account.mail, at)) {
      found.lock_tokens.push_back(lock->token);
    }
    const Node node = Stat(at);
    if (node.is_file()) found.etag = node.ETag();
    return found;
  };
  if (EvaluateIfHeader(*if_header, state_of)) return std::nullopt;
  return Refusal{412, "the If header does not hold"};
}

bool DavRequest::Permits(std::string_view at, ChangeScope change) const {
  return state.locks.Permits(account.mail, at, change, tokens);
}

bool DavRequest::IsNullResource(std::string_view at) const {
  return state.locks.IsNullResource(account.mail, at);
}

Checked<RelativePath> ResolveOwnAddress(const DavRequest& request, std::string_view address) {
  auto target = ParseDiskTarget(AddressPath(address), true);
  if (!target.ok()) return target.refusal();
  if (target.value().user != request.account.mail) {
    return Refusal{403, "the address is outside this account's disk"};
  }
  return target.value().path;
}

}  // namespace qbrk::emulator
