// OPTIONS, GET, HEAD and PROPFIND.
#include <vector>

#include "core/disk_path.h"
#include "core/http_date.h"
#include "dav_methods.h"
#include "dav_properties.h"
#include "dav_xml.h"
#include "protocol/service.h"

namespace qbrk::emulator {

namespace {

std::string ResponseXml(const DavRequest& request, const PropfindRequest& wanted,
                        const ResourceInfo& resource) {
  std::string found;
  std::string missing;
  if (wanted.kind == PropfindRequest::Kind::kProp) {
    for (const QName& name : wanted.names) {
      if (auto xml = PropertyXml(request, name, resource)) {
        found += *xml;
      } else {
        missing += EmptyElement(name);
      }
    }
  } else {
    for (const QName& name : AllPropNames(request, resource)) {
      found += wanted.kind == PropfindRequest::Kind::kPropName
                   ? EmptyElement(name)
                   : PropertyXml(request, name, resource).value_or(std::string());
    }
  }
  std::string xml = "<D:response><D:href>" +
                    request.HrefXml(resource.rel, resource.node.is_folder()) + "</D:href>";
  if (!found.empty()) xml += PropstatXml(found, 200);
  if (!missing.empty()) xml += PropstatXml(missing, 404);
  return xml + "</D:response>\n";
}

// The resource itself and, down to depth, its members, parents before children.
std::vector<ResourceInfo> Members(const DavRequest& request, int depth) {
  std::vector<ResourceInfo> out;
  struct Pending {
    std::string rel;
    int depth;
  };
  std::vector<Pending> stack{{request.rel, 0}};
  while (!stack.empty()) {
    Pending item = std::move(stack.back());
    stack.pop_back();
    ResourceInfo info{item.rel, request.Stat(item.rel)};
    const bool folder = info.node.is_folder();
    out.push_back(std::move(info));
    if (!folder || (depth >= 0 && item.depth >= depth)) continue;
    std::vector<std::string> names = request.account.disk.Children(item.rel);
    for (const std::string& name :
         request.state.locks.NullResourcesIn(request.account.mail, item.rel)) {
      if (!request.Stat(ChildOf(item.rel, name)).exists()) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
      const std::string child = ChildOf(item.rel, *it);
      if (request.Stat(child).kind == Node::Kind::kOther) continue;
      stack.push_back({child, item.depth + 1});
    }
  }
  return out;
}

}  // namespace

Response DavOptions(DavRequest&, std::string) {
  Response r;
  r.headers.Add("DAV", "1, 2");
  r.headers.Add("Allow", kAllowedMethods);
  r.headers.Add("MS-Author-Via", "DAV");
  r.body = std::string();
  return r;
}

Response DavGet(DavRequest& request, std::string) {
  const Node node = request.Stat(request.rel);
  if (!node.exists()) return RefusalResponse({404, "no such resource"});
  Response r;
  r.headers.Add("X-Last-Modified", FormatHttpDate(node.modified));
  r.headers.Add("Last-Modified", FormatHttpDate(node.modified));
  if (node.is_folder()) {
    r.headers.Add("Content-Type", "text/html; charset=Shift_JIS");
    r.body = FolderPageHtml(request.Path(request.rel, true), "", !request.rel.empty(),
                            FolderPageEntries(request.account.disk, request.rel));
    return r;
  }
  UniqueFd fd = request.account.disk.OpenForReading(request.rel);
  if (!fd.valid()) return RefusalResponse({500, "cannot open the file"});
  r.headers.Add("ETag", node.ETag());
  r.headers.Add("Content-Type", ContentTypeOf(request.rel));
  r.body = FileBody{std::move(fd), 0, node.size};
  return r;
}

Response DavPropfind(DavRequest& request, std::string body) {
  const auto depth = ParseDepth(request.head.headers.Get("Depth"), -1);
  if (!depth) return RefusalResponse({400, "bad Depth header"});
  auto wanted = ParsePropfind(body);
  if (!wanted.ok()) return RefusalResponse(wanted.refusal());
  if (!request.Stat(request.rel).exists() && !request.IsNullResource(request.rel)) {
    return RefusalResponse({404, "no such resource"});
  }
  std::string xml = MultistatusStart(request.charset);
  for (const ResourceInfo& resource : Members(request, *depth)) {
    xml += ResponseXml(request, wanted.value(), resource);
  }
  xml += kMultistatusEnd;
  return XmlResponse(207, std::move(xml), CharsetName(request.charset));
}

}  // namespace qbrk::emulator
