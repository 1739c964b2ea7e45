// PROPPATCH, MKCOL, DELETE, COPY and MOVE.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/disk_path.h"
#include "core/http_date.h"
#include "dav_methods.h"
#include "dav_properties.h"
#include "dav_xml.h"
#include "protocol/service.h"

namespace qbrk::emulator {

namespace {

Response Locked() {
  return RefusalResponse({423, "the resource is locked"});
}

Response FailedWith(int err, std::string_view what) {
  if (err == ENOSPC || err == EDQUOT) return RefusalResponse({507, "the data folder is full"});
  return RefusalResponse({500, std::string(what) + " failed: " + std::strerror(err)});
}

// One multistatus response about the request's resource, with one propstat per status.
Response PropPatchAnswer(const DavRequest& request, const std::vector<PropPatchOperation>& ops,
                         const std::vector<int>& statuses) {
  const std::string href = request.HrefXml(request.rel, request.Stat(request.rel).is_folder());
  return XmlResponse(207, PropPatchAnswerXml(request.charset, href, ops, statuses),
                     CharsetName(request.charset));
}

// Checks shared by COPY and MOVE; fills the destination and whether it exists.
std::optional<Response> CheckTransfer(DavRequest& request, bool move, std::string* destination,
                                      bool* overwriting) {
  const auto header = request.head.headers.Get("Destination");
  if (!header) return RefusalResponse({400, "Destination header missing"});
  auto resolved = ResolveOwnAddress(request, *header);
  if (!resolved.ok()) return RefusalResponse(resolved.refusal());
  *destination = resolved.value().rel;
  const auto overwrite = request.head.headers.Get("Overwrite");
  if (overwrite && *overwrite != "T" && *overwrite != "F") {
    return RefusalResponse({400, "Overwrite is T or F"});
  }
  const auto depth = ParseDepth(request.head.headers.Get("Depth"), -1);
  if (!depth || *depth == 1 || (move && *depth != -1)) {
    return RefusalResponse({400, "bad Depth header"});
  }
  const Node source = request.Stat(request.rel);
  if (!source.exists()) return RefusalResponse({404, "no such resource"});
  if (request.rel.empty() || destination->empty()) {
    return RefusalResponse({403, "the disk root cannot be copied, moved or replaced"});
  }
  if (IsWithin(*destination, request.rel) || IsWithin(request.rel, *destination)) {
    return RefusalResponse({403, "the source and the destination contain each other"});
  }
  if (!request.Stat(ParentOf(*destination)).is_folder()) {
    return RefusalResponse({409, "the destination's parent folder does not exist"});
  }
  if (!IsCreatableName(NameOf(*destination))) {
    return RefusalResponse({400, "control characters in a name"});
  }
  *overwriting = request.Stat(*destination).exists();
  if (*overwriting && overwrite && *overwrite == "F") {
    return RefusalResponse({412, "the destination exists"});
  }
  if (move && !request.Permits(request.rel, {.membership = true, .subtree = true})) {
    return Locked();
  }
  if (!request.Permits(*destination, {.membership = true, .subtree = *overwriting})) {
    return Locked();
  }
  return std::nullopt;
}

Response Transfer(DavRequest& request, bool move) {
  std::string destination;
  bool overwriting = false;
  if (auto refusal = CheckTransfer(request, move, &destination, &overwriting)) {
    return std::move(*refusal);
  }
  Account& account = request.account;
  const DiskStore& disk = account.disk;
  const bool shallow = request.head.headers.Get("Depth") == "0";
  const uint64_t replaced = overwriting ? disk.TreeBytes(destination) : 0;
  const uint64_t added = move ? 0
                         : (shallow && request.Stat(request.rel).is_folder())
                             ? 0
                             : disk.TreeBytes(request.rel);
  if (!account.Fits(replaced, added)) return RefusalResponse({507, "quota exceeded"});
  if (overwriting) {
    if (int err = disk.RemoveTree(destination); err != 0) {
      account.used = disk.TreeBytes("");
      return FailedWith(err, "removing the destination");
    }
    request.state.ForgetInside(account.mail, destination);
  }
  account.used -= std::min(account.used, replaced);
  int err;
  if (move) {
    err = disk.Rename(request.rel, destination);
    if (err == 0) {
      for (const Lock& lock : request.state.locks.RemoveInside(account.mail, request.rel)) {
        request.state.staging.DropToken(lock.token);
      }
      if (request.state.publications.MoveInside(account.mail, request.rel, destination)) {
        request.state.publications.Save();
      }
      if (request.state.properties.MoveInside(account.mail, request.rel, destination)) {
        request.state.properties.Save();
      }
    }
  } else if (shallow && request.Stat(request.rel).is_folder()) {
    err = disk.MakeFolder(destination);
    if (err == 0) err = disk.SetModified(destination, request.Stat(request.rel).modified);
  } else {
    err = disk.CopyTree(request.rel, destination);
  }
  if (err != 0) {
    account.used = disk.TreeBytes("");
    return FailedWith(err, move ? "moving" : "copying");
  }
  if (!move) {
    PropertyStore& properties = request.state.properties;
    bool changed;
    if (shallow) {
      std::vector<DeadProperty> own = properties.Get(account.mail, request.rel);
      changed = !own.empty();
      properties.Put(account.mail, destination, std::move(own));
    } else {
      changed = properties.CopyInside(account.mail, request.rel, destination);
    }
    if (changed) properties.Save();
  }
  account.used += added;
  request.state.locks.Materialize(account.mail, destination);
  Response r;
  r.status = overwriting ? 204 : 201;
  return r;
}

}  // namespace

Response DavProppatch(DavRequest& request, std::string body) {
  if (!request.Stat(request.rel).exists()) return RefusalResponse({404, "no such resource"});
  auto ops = ParsePropPatch(body);
  if (!ops.ok()) return RefusalResponse(ops.refusal());
  if (!request.Permits(request.rel, {})) return Locked();
  // The modification time can be set; the other computed properties cannot, and a request
  // that touches one of them changes nothing at all. Any other property is kept as given.
  std::vector<int> statuses;
  std::optional<time_t> modified;
  bool refused = false;
  for (const PropPatchOperation& op : ops.value()) {
    int status = 200;
    if (op.name.Is(kDavNamespace, "getlastmodified") && !op.remove) {
      modified = ParseHttpDate(op.text);
      if (!modified) return RefusalResponse({400, "getlastmodified is not an HTTP date"});
    } else if (IsLiveProperty(op.name)) {
      status = 403;
      refused = true;
    }
    statuses.push_back(status);
  }
  if (refused) {
    for (int& status : statuses)
      status = status == 200 ? 424 : status;
    return PropPatchAnswer(request, ops.value(), statuses);
  }
  if (modified) {
    if (int err = request.account.disk.SetModified(request.rel, *modified); err != 0) {
      return FailedWith(err, "setting the time");
    }
    // File systems clamp what they cannot hold (ext4: 1901 to 2446); say so rather than
    // report another time later.
    if (request.Stat(request.rel).modified != *modified) {
      return RefusalResponse({500, "the data folder cannot hold this time"});
    }
  }
  PropertyStore& store = request.state.properties;
  std::vector<DeadProperty> dead = store.Get(request.account.mail, request.rel);
  bool changed = false;
  for (const PropPatchOperation& op : ops.value()) {
    if (IsLiveProperty(op.name)) continue;
    std::erase_if(dead, [&](const DeadProperty& p) { return p.name == op.name; });
    if (!op.remove) dead.push_back({op.name, op.value_xml});
    changed = true;
  }
  if (changed) {
    store.Put(request.account.mail, request.rel, std::move(dead));
    if (!store.Save()) return RefusalResponse({500, "cannot save the properties"});
  }
  return PropPatchAnswer(request, ops.value(), statuses);
}

Response DavMkcol(DavRequest& request, std::string body) {
  if (!body.empty()) return RefusalResponse({415, "MKCOL takes no body"});
  if (request.Stat(request.rel).exists()) return RefusalResponse({405, "the resource exists"});
  if (!request.Stat(ParentOf(request.rel)).is_folder()) {
    return RefusalResponse({409, "the parent folder does not exist"});
  }
  if (!IsCreatableName(NameOf(request.rel))) {
    return RefusalResponse({400, "control characters in a name"});
  }
  if (!request.Permits(request.rel, {.membership = true})) return Locked();
  if (int err = request.account.disk.MakeFolder(request.rel); err != 0) {
    return FailedWith(err, "making the folder");
  }
  request.state.locks.Materialize(request.account.mail, request.rel);
  Response r;
  r.status = 201;
  return r;
}

Response DavDelete(DavRequest& request, std::string) {
  if (request.rel.empty()) return RefusalResponse({403, "the disk root cannot be deleted"});
  const auto depth = ParseDepth(request.head.headers.Get("Depth"), -1);
  if (!depth || *depth != -1) return RefusalResponse({400, "DELETE is always recursive"});
  if (!request.Stat(request.rel).exists()) return RefusalResponse({404, "no such resource"});
  if (!request.Permits(request.rel, {.membership = true, .subtree = true})) return Locked();
  Account& account = request.account;
  const uint64_t bytes = account.disk.TreeBytes(request.rel);
  if (int err = account.disk.RemoveTree(request.rel); err != 0) {
    account.used = account.disk.TreeBytes("");
    return FailedWith(err, "deleting");
  }
  account.used -= std::min(account.used, bytes);
  request.state.ForgetInside(account.mail, request.rel);
  Response r;
  r.status = 204;
  return r;
}

Response DavCopy(DavRequest& request, std::string) {
  return Transfer(request, false);
}

Response DavMove(DavRequest& request, std::string) {
  return Transfer(request, true);
}

}  // namespace qbrk::emulator
