// OPTIONS, GET, HEAD and PROPFIND.
#include <algorithm>

#include "model_methods.h"
#include "model_xml.h"
#include "protocol/service.h"

namespace qbrk::model {

namespace {

// The small page a browser gets for a folder, as the service writes it.
std::string FolderPage(const DavCall& call) {
  std::vector<FolderPageEntry> entries;
  for (const std::string& name : call.state.Children(call.rel)) {
    const Resource& r = *call.state.Find(ChildOf(call.rel, name));
    FolderPageEntry& entry = entries.emplace_back();
    entry.name = name;
    entry.folder = r.folder;
    if (!r.folder) entry.size = r.size();
    entry.modified = UnixSeconds(r.time);
  }
  return emulator::FolderPageHtml(call.Path(call.rel, true), "", !call.rel.empty(), entries);
}

void AppendLockDiscovery(std::string* out, const DavCall& call, std::string_view rel) {
  std::string active;
  for (const Lock* lock : call.state.locks.Covering(call.state.mail, rel))
    active += ActiveLockXml(call, *lock);
  *out += emulator::LockDiscoveryXml(active);
}

// Appends the property's element with its value; false when the resource (null for a name
// only reserved by a lock) has no such property.
bool AppendProperty(std::string* out, const DavCall& call, const QName& name, std::string_view rel,
                    const Resource* r) {
  if (name.ns == kVendorNamespace) {
    const ModelState& state = call.state;
    const uint64_t free = state.used >= state.config.quota ? 0 : state.config.quota - state.used;
    uint64_t value;
    if (name.local == "getquotasize") {
      value = state.config.quota;
    } else if (name.local == "getusedsize") {
      value = state.used;
    } else if (name.local == "getfreesize") {
      value = free;
    } else {
      return false;
    }
    *out += Element(name, std::to_string(value));
    return true;
  }
  if (name.ns != kDavNamespace) return false;  // no dead properties here
  const std::string& local = name.local;
  if (local == "resourcetype") {
    *out += r != nullptr && r->folder ? "<D:resourcetype><D:collection/></D:resourcetype>"
                                      : "<D:resourcetype/>";
    return true;
  }
  if (local == "lockdiscovery") {
    AppendLockDiscovery(out, call, rel);
    return true;
  }
  if (local == "supportedlock") {
    *out += emulator::kSupportedLockXml;
    return true;
  }
  if (local == "getlastmodified" && r != nullptr) {
    AppendDav(out, "getlastmodified", r->Date());
    return true;
  }
  if (r == nullptr || r->folder) return false;
  if (local == "getcontentlength") {
    AppendDav(out, "getcontentlength", std::to_string(r->size()));
  } else if (local == "getetag") {
    AppendDav(out, "getetag", XmlEscape(r->ETag()));
  } else if (local == "getcontenttype") {
    AppendDav(out, "getcontenttype", ContentTypeOf(rel));
  } else {
    return false;
  }
  return true;
}

// Writes one response element of a multistatus; `found` and `missing` are scratch space
// kept from one member to the next.
class ResponseWriter {
 public:
  ResponseWriter(const DavCall& call, const PropfindRequest& wanted, std::string* out)
      : call_(call), wanted_(wanted), out_(*out) {}

  void Write(std::string_view rel, const Resource* r) {
    found_.clear();
    missing_.clear();
    if (wanted_.kind == PropfindRequest::Kind::kProp) {
      for (const QName& name : wanted_.names) {
        if (!AppendProperty(&found_, call_, name, rel, r)) AppendEmptyElement(&missing_, name);
      }
    } else {
      // No dead properties here: the live ones are all.
      for (const QName& name :
           emulator::LivePropertyNames(r != nullptr, r != nullptr && !r->folder)) {
        if (wanted_.kind == PropfindRequest::Kind::kPropName) {
          AppendEmptyElement(&found_, name);
        } else {
          AppendProperty(&found_, call_, name, rel, r);
        }
      }
    }
    out_ += "<D:response><D:href>";
    call_.AppendHref(&out_, rel, r != nullptr && r->folder);
    out_ += "</D:href>";
    if (!found_.empty()) AppendPropstat(&out_, found_, 200);
    if (!missing_.empty()) AppendPropstat(&out_, missing_, 404);
    out_ += "</D:response>\n";
  }

 private:
  const DavCall& call_;
  const PropfindRequest& wanted_;
  std::string& out_;
  std::string found_;
  std::string missing_;
};

// The resource itself and, down to depth (-1: all the way), its members, names reserved by
// locks among them: parents before children, members by name.
void WriteMembers(const ModelState& state, std::string_view rel, const Resource* r, int depth,
                  ResponseWriter* writer) {
  writer->Write(rel, r);
  if (r == nullptr || !r->folder || depth == 0) return;
  std::vector<std::string> reserved;
  if (!state.locks.all().empty()) {
    for (std::string& name : state.locks.NullResourcesIn(state.mail, rel)) {
      if (!state.Find(ChildOf(rel, name))) reserved.push_back(std::move(name));
    }
  }
  const std::string prefix = rel.empty() ? std::string() : std::string(rel) + "/";
  size_t next_reserved = 0;
  auto write_reserved_before = [&](std::string_view name) {
    for (; next_reserved < reserved.size() && std::string_view(reserved[next_reserved]) < name;
         ++next_reserved) {
      writer->Write(prefix + reserved[next_reserved], nullptr);
    }
  };
  // The map holds a folder's members in one run, sorted by name, with their own members
  // between them.
  for (auto it = state.resources.lower_bound(prefix);
       it != state.resources.end() && it->first.compare(0, prefix.size(), prefix) == 0; ++it) {
    const std::string_view name = std::string_view(it->first).substr(prefix.size());
    if (name.empty() || name.find('/') != std::string_view::npos) continue;
    write_reserved_before(name);
    WriteMembers(state, it->first, &it->second, depth < 0 ? depth : depth - 1, writer);
  }
  for (; next_reserved < reserved.size(); ++next_reserved)
    writer->Write(prefix + reserved[next_reserved], nullptr);
}

}  // namespace

HandlerResponse DavOptions(DavCall&) {
  HandlerResponse answer;
  answer.headers = {{"DAV", "1, 2"}, {"Allow", kAllowedMethods}, {"MS-Author-Via", "DAV"}};
  return answer;
}

HandlerResponse DavGet(DavCall& call) {
  const Resource* r = call.state.Find(call.rel);
  if (r == nullptr) return RefusalAnswer({404, "no such resource"});
  HandlerResponse answer;
  const std::string& date = r->Date();
  answer.headers.emplace_back("X-Last-Modified", date);
  answer.headers.emplace_back("Last-Modified", date);
  if (r->folder) {
    answer.headers.emplace_back("Content-Type", "text/html; charset=Shift_JIS");
    answer.body = FolderPage(call);
    return answer;
  }
  answer.headers.emplace_back("ETag", r->ETag());
  answer.headers.emplace_back("Content-Type", ContentTypeOf(call.rel));
  answer.body = r->content;  // a HEAD gives its length only
  return answer;
}

HandlerResponse DavPropfind(DavCall& call) {
  const auto depth = ParseDepth(call.Header("Depth"), -1);
  if (!depth) return RefusalAnswer({400, "bad Depth header"});
  // Our client sends a handful of bodies again and again: each is read once.
  auto& read = call.state.propfind_bodies;
  auto known = std::find_if(read.begin(), read.end(),
                            [&](const auto& entry) { return entry.first == call.request.body; });
  if (known == read.end()) {
    PropfindRequest wanted;
    if (Refusal r = ReadPropfind(call.request.body, &wanted)) return RefusalAnswer(r);
    if (read.size() >= 16) read.clear();
    known = read.insert(read.end(), {call.request.body, std::move(wanted)});
  }
  const PropfindRequest& wanted = known->second;
  const Resource* resource = call.state.Find(call.rel);
  if (!resource && !call.state.locks.IsNullResource(call.state.mail, call.rel)) {
    return RefusalAnswer({404, "no such resource"});
  }
  std::string xml = MultistatusStart(call.charset);
  ResponseWriter writer(call, wanted, &xml);
  WriteMembers(call.state, call.rel, resource, *depth, &writer);
  xml += kMultistatusEnd;
  return XmlAnswer(207, std::move(xml), call.charset);
}

}  // namespace qbrk::model
