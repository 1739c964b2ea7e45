// PROPPATCH, MKCOL, DELETE and PUT (whole, and in pieces under a lock).
#include "model_methods.h"
#include "model_xml.h"

namespace qbrk::model {

namespace {

HandlerResponse Locked() {
  return RefusalAnswer({423, "the resource is locked"});
}

HandlerResponse PropPatchAnswer(const DavCall& call, const std::vector<PropPatchOperation>& ops,
                                const std::vector<int>& statuses) {
  const std::string href = call.Href(call.rel, call.state.IsFolder(call.rel));
  return XmlAnswer(207, emulator::PropPatchAnswerXml(call.charset, href, ops, statuses),
                   call.charset);
}

// Puts a complete file in place of the resource: 201 new, 204 replaced.
HandlerResponse Install(DavCall& call, std::string bytes) {
  ModelState& state = call.state;
  const Resource* old = state.Find(call.rel);
  if (!state.Fits(old ? old->size() : 0, bytes.size())) {
    return RefusalAnswer({507, "quota exceeded"});
  }
  const bool replaced = old != nullptr;
  state.InstallFile(call.rel, std::move(bytes), state.Now(), true);
  const Resource& now = *state.Find(call.rel);
  HandlerResponse answer;
  answer.status = replaced ? 204 : 201;
  answer.headers.emplace_back("ETag", now.ETag());
  answer.headers.emplace_back("X-Last-Modified", now.Date());
  return answer;
}

// One piece of a file sent under the lock `token`. The first piece (from 0) starts the upload
// afresh; each next one must start where the previous ended.
HandlerResponse PutPiece(DavCall& call, const ContentRange& range, const std::string& token) {
  ModelState& state = call.state;
  StagedUpload* upload = state.FindUpload(token, call.rel);
  if (range.first > 0 &&
      (upload == nullptr || upload->bytes.size() != range.first || upload->total != range.total)) {
    return RefusalAnswer({409, "this piece does not continue an upload in progress"});
  }
  if (call.request.body.size() != range.length()) {
    return RefusalAnswer({400, "the body does not match Content-Range"});
  }
  if (range.first == 0) {
    if (upload == nullptr) {
      upload = &state.staging.emplace_back(StagedUpload{token, call.rel, range.total, {}});
    }
    upload->total = range.total;
    upload->bytes = call.request.body;
  } else {
    upload->bytes += call.request.body;
  }
  if (upload->bytes.size() < upload->total) {
    HandlerResponse answer;
    answer.status = 204;
    return answer;
  }
  std::string bytes = std::move(upload->bytes);
  std::erase_if(state.staging, [&](const StagedUpload& u) { return &u == upload; });
  return Install(call, std::move(bytes));
}

}  // namespace

HandlerResponse DavProppatch(DavCall& call) {
  if (!call.state.Find(call.rel)) return RefusalAnswer({404, "no such resource"});
  std::vector<PropPatchOperation> ops;
  if (Refusal r = ReadPropPatch(call.request.body, &ops)) return RefusalAnswer(r);
  if (!call.Permits(call.rel, {})) return Locked();
  // The time can be set; the other computed properties cannot, and a request that touches
  // one of them changes nothing at all.
  std::vector<int> statuses;
  std::optional<int64_t> modified;
  bool refused = false;
  bool dead = false;
  for (const PropPatchOperation& op : ops) {
    int status = 200;
    if (op.name.Is(kDavNamespace, "getlastmodified") && !op.remove) {
      modified = emulator::ParseHttpDate(op.text);
      if (!modified) return RefusalAnswer({400, "getlastmodified is not an HTTP date"});
    } else if (IsLiveProperty(op.name)) {
      status = 403;
      refused = true;
    } else {
      dead = true;
    }
    statuses.push_back(status);
  }
  if (refused) {
    for (int& status : statuses)
      status = status == 200 ? 424 : status;
    return PropPatchAnswer(call, ops, statuses);
  }
  if (dead) return RefusalAnswer({501, "the model keeps no dead properties"});
  if (modified) {
    // The model holds any time a FILETIME can, where the emulator's disk holds less (ext4:
    // 1901 to 2446); both refuse what they cannot hold in the same words.
    const std::optional<uint64_t> file_time = FileTimeOfUnixSeconds(*modified);
    if (!file_time) return RefusalAnswer({500, "the data folder cannot hold this time"});
    Resource& r = call.state.resources[call.rel];
    r.time = *file_time;
    r.version = call.state.next_version++;
  }
  return PropPatchAnswer(call, ops, statuses);
}

HandlerResponse DavMkcol(DavCall& call) {
  ModelState& state = call.state;
  if (!call.request.body.empty()) return RefusalAnswer({415, "MKCOL takes no body"});
  if (state.Find(call.rel)) return RefusalAnswer({405, "the resource exists"});
  if (!state.IsFolder(ParentOf(call.rel))) {
    return RefusalAnswer({409, "the parent folder does not exist"});
  }
  if (!IsCreatableName(NameOf(call.rel)))
    return RefusalAnswer({400, "control characters in a name"});
  if (!call.Permits(call.rel, {.membership = true})) return Locked();
  state.MakeFolder(call.rel, state.Now(), true);
  HandlerResponse answer;
  answer.status = 201;
  return answer;
}

HandlerResponse DavDelete(DavCall& call) {
  if (call.rel.empty()) return RefusalAnswer({403, "the disk root cannot be deleted"});
  const auto depth = ParseDepth(call.Header("Depth"), -1);
  if (!depth || *depth != -1) return RefusalAnswer({400, "DELETE is always recursive"});
  if (!call.state.Find(call.rel)) return RefusalAnswer({404, "no such resource"});
  if (!call.Permits(call.rel, {.membership = true, .subtree = true})) return Locked();
  call.state.RemoveTree(call.rel, true);
  HandlerResponse answer;
  answer.status = 204;
  return answer;
}

HandlerResponse DavPut(DavCall& call) {
  ModelState& state = call.state;
  state.ExpireLocks();
  const Resource* node = state.Find(call.rel);
  if (call.rel.empty() || call.trailing_slash || (node != nullptr && node->folder)) {
    return RefusalAnswer({405, "PUT cannot write a folder"});
  }
  if (!state.IsFolder(ParentOf(call.rel))) {
    return RefusalAnswer({409, "the parent folder does not exist"});
  }
  if (node == nullptr && !IsCreatableName(NameOf(call.rel))) {
    return RefusalAnswer({400, "control characters in a name"});
  }
  if (Refusal r = call.CheckIf()) return RefusalAnswer(r);
  if (!call.Permits(call.rel, {.membership = node == nullptr})) return Locked();
  auto declared =
      emulator::ParsePutDeclaration(call.Header("Content-Length"), call.Header("Content-Range"));
  if (!declared.ok()) return RefusalAnswer(declared.refusal());
  const std::optional<ContentRange>& range = declared.value().range;
  std::string token;
  if (range) {
    const Lock* held = state.locks.PresentedCovering(state.mail, call.rel, call.tokens);
    if (held == nullptr) return RefusalAnswer({412, "a file sent in pieces must be locked first"});
    token = held->token;
  }
  const std::optional<uint64_t> size = declared.value().FileSize();
  if (size && !state.Fits(node ? node->size() : 0, *size)) {
    return RefusalAnswer({507, "quota exceeded"});
  }
  if (range) return PutPiece(call, *range, token);
  return Install(call, call.request.body);
}

}  // namespace qbrk::model
