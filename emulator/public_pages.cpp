// The public web pages of published folders: an index of the folder, and its files.
#include <cstring>
#include <mutex>

#include "core/disk_path.h"
#include "core/http_date.h"
#include "dav_methods.h"
#include "dav_properties.h"
#include "publishing.h"

namespace qbrk::emulator {

namespace {

Response HtmlPage(int status, std::string html) {
  Response r;
  r.status = status;
  r.headers.Add("Content-Type", "text/html; charset=Shift_JIS");
  r.body = std::move(html);
  return r;
}

Response NotFoundPage() {
  return HtmlPage(404,
                  "<!DOCTYPE html>\n<html lang=\"ja\"><head><meta charset=\"Shift_JIS\">"
                  "<title>見つかりません</title></head><body><p>このページは公開されていません。"
                  "</p></body></html>\n");
}

Response Redirect(std::string location) {
  Response r;
  r.status = 301;
  r.headers.Add("Location", std::move(location));
  return r;
}

}  // namespace

std::vector<FolderPageEntry> FolderPageEntries(const DiskStore& disk, std::string_view rel) {
  std::vector<FolderPageEntry> entries;
  for (const std::string& name : disk.Children(rel)) {
    const Node node = disk.Stat(ChildOf(rel, name));
    if (!node.exists()) continue;
    FolderPageEntry& entry = entries.emplace_back();
    entry.name = name;
    entry.folder = node.is_folder();
    if (node.is_file()) entry.size = node.size;
    entry.modified = node.modified;
  }
  return entries;
}

std::unique_ptr<Exchange> BeginPublicPage(ServiceState& state, RequestHead head) {
  if (head.method != "GET" && head.method != "HEAD") {
    Response r = RefusalResponse({405, "public pages can only be read"});
    r.headers.Add("Allow", "GET, HEAD");
    return Fixed(std::move(r));
  }
  std::string_view rest = std::string_view(head.target).substr(std::strlen(kPublicPrefix));
  const size_t slash = rest.find('/');
  const std::string token(rest.substr(0, slash));
  std::lock_guard<std::mutex> lock(state.mu);
  const Publication* p = state.publications.FindByToken(token);
  Account* account = p ? state.accounts.FindByDiskUser(p->user) : nullptr;
  if (account == nullptr) return Fixed(NotFoundPage());
  if (slash == std::string_view::npos) return Fixed(Redirect(head.target + "/"));
  auto inside = ParseRelativePath(rest.substr(slash + 1), true);
  if (!inside.ok()) return Refuse(inside.refusal());
  const std::string rel = inside.value().rel.empty() ? p->rel : ChildOf(p->rel, inside.value().rel);
  const Node node = account->disk.Stat(rel);
  if (node.is_folder()) {
    if (!inside.value().rel.empty() && !inside.value().trailing_slash) {
      return Fixed(Redirect(head.target + "/"));
    }
    const DisplaySetting display = state.publications.Display(account->mail);
    const std::string publisher = display.custom ? display.name : account->mail;
    const std::string title = rel.empty() ? std::string("/") : NameOf(rel);
    return Fixed(HtmlPage(200, FolderPageHtml(title, publisher, !inside.value().rel.empty(),
                                              FolderPageEntries(account->disk, rel))));
  }
  if (!node.is_file() || inside.value().trailing_slash) return Fixed(NotFoundPage());
  UniqueFd fd = account->disk.OpenForReading(rel);
  if (!fd.valid()) return Fixed(NotFoundPage());
  Response r;
  r.headers.Add("Content-Type", ContentTypeOf(rel));
  r.headers.Add("Last-Modified", FormatHttpDate(node.modified));
  r.body = FileBody{std::move(fd), 0, node.size};
  return Fixed(std::move(r));
}

}  // namespace qbrk::emulator
