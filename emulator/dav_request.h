// One authenticated request on an account's disk, with what every method needs to know.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "accounts.h"
#include "core/checked.h"
#include "core/disk_path.h"
#include "core/if_header.h"
#include "core/lock_table.h"
#include "core/xml_text.h"
#include "http_message.h"
#include "service_state.h"

namespace qbrk::emulator {

struct DavRequest {
  DavRequest(ServiceState& s, RequestHead h, Account& a, std::string r, bool slash)
      : state(s), head(std::move(h)), account(a), rel(std::move(r)), trailing_slash(slash) {}

  ServiceState& state;
  RequestHead head;
  Account& account;
  std::string rel;  // the resource below the disk root
  bool trailing_slash = false;
  Charset charset = Charset::kUtf8;
  std::optional<IfHeader> if_header;
  std::vector<std::string> tokens;  // lock tokens the request presents

  // The resource's full path as it goes on the wire; folders end with "/".
  std::string Path(std::string_view at, bool folder) const;
  // The same, ready to be placed in a href element of the response.
  std::string HrefXml(std::string_view at, bool folder) const;

  // The rest need state.mu held.
  // 412 when the If header does not hold.
  std::optional<Refusal> CheckIf() const;
  bool Permits(std::string_view at, ChangeScope change) const;
  // A resource that exists, or a name reserved by a lock.
  bool IsNullResource(std::string_view at) const;
  Node Stat(std::string_view at) const { return account.disk.Stat(at); }
};

// Resolves an address given in a Destination or If header to a path below this account's
// disk; absolute URLs are reduced to their path.
Checked<RelativePath> ResolveOwnAddress(const DavRequest& request, std::string_view address);

}  // namespace qbrk::emulator
