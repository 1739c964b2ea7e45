// The WebDAV methods of the model service. Each runs on an authenticated request for a path
// of the disk, after expired locks were dropped and the If header was found to hold.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model_state.h"
#include "model_text.h"
#include "platform/memory/http_handler.h"

namespace qbrk::model {

// One request on the disk, with what every method needs to know.
struct DavCall {
  ModelState& state;
  const HandlerRequest& request;
  std::string rel;  // the resource below the disk root
  bool trailing_slash = false;
  Charset charset = Charset::kUtf8;
  std::optional<IfHeader> if_header{};
  std::vector<std::string> tokens{};  // lock tokens the request presents

  // The first header of that name (ASCII case ignored).
  std::optional<std::string_view> Header(std::string_view name) const {
    return FindHeader(request.headers, name);
  }
  // The resource's full path as it goes on the wire; folders end with "/".
  std::string Path(std::string_view at, bool folder) const;
  // The same, ready for a href element of the answer.
  std::string Href(std::string_view at, bool folder) const;
  void AppendHref(std::string* out, std::string_view at, bool folder) const;
  // 412 when the If header does not hold.
  Refusal CheckIf() const;
  bool Permits(std::string_view at, ChangeScope change) const;
};

// "Reason: why\n" as plain text, the service's form of a refusal.
HandlerResponse RefusalAnswer(const Refusal& refusal);
HandlerResponse XmlAnswer(uint32_t status, std::string xml, Charset charset);
// "/~" + user + "/file/" + rel, with the address forms of an If header's tag reduced to it.
std::optional<std::string> ResolveOwnAddress(const DavCall& call, std::string_view address);

HandlerResponse DavOptions(DavCall& call);
HandlerResponse DavGet(DavCall& call);
HandlerResponse DavPropfind(DavCall& call);
HandlerResponse DavProppatch(DavCall& call);
HandlerResponse DavMkcol(DavCall& call);
HandlerResponse DavDelete(DavCall& call);
HandlerResponse DavPut(DavCall& call);
HandlerResponse DavLock(DavCall& call);
HandlerResponse DavUnlock(DavCall& call);

// The element of one active lock, as lock discovery and the LOCK answer write it.
std::string ActiveLockXml(const DavCall& call, const Lock& lock);

}  // namespace qbrk::model
