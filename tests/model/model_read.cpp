// OPTIONS, GET, HEAD and PROPFIND.
#include <algorithm>

#include "model_methods.h"
#include "model_xml.h"
#include "protocol/service.h"

namespace qbrk::model {

namespace {

std::string ContentTypeOf(std::string_view name) {
  struct Type {
    std::string_view extension;
    std::string_view type;
  };
  static constexpr Type kTypes[] = {
      {".txt", "text/plain"},      {".htm", "text/html"},   {".html", "text/html"},
      {".css", "text/css"},        {".csv", "text/csv"},    {".xml", "application/xml"},
      {".jpg", "image/jpeg"},      {".jpeg", "image/jpeg"}, {".png", "image/png"},
      {".gif", "image/gif"},       {".bmp", "image/bmp"},   {".pdf", "application/pdf"},
      {".zip", "application/zip"}, {".mp3", "audio/mpeg"},  {".mp4", "video/mp4"},
  };
  const std::string lower = LowerAsciiBytes(name.substr(name.rfind('/') + 1));
  for (const Type& t : kTypes) {
    if (lower.size() > t.extension.size() &&
        std::string_view(lower).substr(lower.size() - t.extension.size()) == t.extension) {
      return std::string(t.type);
    }
  }
  return "application/octet-stream";
}

// The small page a browser gets for a folder, as the service writes it.
std::string FolderPage(const DavCall& call) {
  const std::string title = XmlSafeShiftJis(call.Path(call.rel, true));
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"ja\"><head><meta charset=\"Shift_JIS\"><title>" + title +
      "</title></head>\n<body>\n<h1>" + title + "</h1>\n";
  html += "<table>\n<tr><th>名前</th><th>サイズ</th><th>更新日時</th></tr>\n";
  if (!call.rel.empty()) html += "<tr><td><a href=\"../\">../</a></td></tr>\n";
  for (const std::string& name : call.state.Children(call.rel)) {
    const Resource& r = *call.state.Find(ChildOf(call.rel, name));
    const std::string suffix = r.folder ? "/" : "";
    html += "<tr><td><a href=\"" + PercentEncode(name, "") + suffix + "\">" +
            XmlSafeShiftJis(name) + suffix + "</a></td><td>" +
            (r.folder ? std::string() : std::to_string(r.size())) + "</td><td>" + r.Date() +
            "</td></tr>\n";
  }
  return html + "</table>\n</body></html>\n";
}

// <D:local>inner</D:local>, appended.
void AppendDav(std::string* out, std::string_view local, std::string_view inner) {
  *out += "<D:";
  *out += local;
  *out += '>';
  *out += inner;
  *out += "</D:";
  *out += local;
  *out += '>';
}

void AppendLockDiscovery(std::string* out, const DavCall& call, std::string_view rel) {
  const std::vector<const Lock*> covering = call.state.locks.Covering(rel);
  if (covering.empty()) {
    *out += "<D:lockdiscovery/>";
    return;
  }
  *out += "<D:lockdiscovery>";
  for (const Lock* lock : covering)
    *out += ActiveLockXml(call, *lock);
  *out += "</D:lockdiscovery>";
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
    *out +=
        "<D:supportedlock><D:lockentry><D:lockscope><D:exclusive/></D:lockscope><D:locktype>"
        "<D:write/></D:locktype></D:lockentry><D:lockentry><D:lockscope><D:shared/>"
        "</D:lockscope><D:locktype><D:write/></D:locktype></D:lockentry></D:supportedlock>";
    return true;
  }
  if (local == "getlastmodified" && r != nullptr) {
    *out += "<D:getlastmodified>";
    *out += r->Date();
    *out += "</D:getlastmodified>";
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

std::vector<QName> AllPropNames(const Resource* r) {
  auto dav = [](std::string_view local) { return QName{kDavNamespace, std::string(local)}; };
  std::vector<QName> names{dav("resourcetype")};
  if (r != nullptr) names.push_back(dav("getlastmodified"));
  if (r != nullptr && !r->folder) {
    names.push_back(dav("getcontentlength"));
    names.push_back(dav("getetag"));
    names.push_back(dav("getcontenttype"));
  }
  names.push_back(dav("lockdiscovery"));
  names.push_back(dav("supportedlock"));
  return names;
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
      for (const QName& name : AllPropNames(r)) {
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
    for (std::string& name : state.locks.NullResourcesIn(rel)) {
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
  const auto depth = ParseDepth(call, -1);
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
  if (!resource && !call.state.locks.IsNullResource(call.rel)) {
    return RefusalAnswer({404, "no such resource"});
  }
  std::string xml = MultistatusStart(call.charset);
  ResponseWriter writer(call, wanted, &xml);
  WriteMembers(call.state, call.rel, resource, *depth, &writer);
  xml += kMultistatusEnd;
  return XmlAnswer(207, std::move(xml), call.charset);
}

}  // namespace qbrk::model
