#include "live_properties.h"

#include <algorithm>

#include "ascii_case.h"
#include "protocol/service.h"

namespace qbrk::emulator {

namespace {

QName Dav(std::string_view local) {
  return QName{kDavNamespace, std::string(local)};
}

}  // namespace

bool IsLiveProperty(const QName& name) {
  if (name.ns == kVendorNamespace) return true;
  if (name.ns != kDavNamespace) return false;
  static constexpr std::string_view kLive[] = {
      "resourcetype",   "getlastmodified", "getcontentlength", "getetag",
      "getcontenttype", "lockdiscovery",   "supportedlock",    "creationdate"};
  return std::find(std::begin(kLive), std::end(kLive), name.local) != std::end(kLive);
}

std::vector<QName> LivePropertyNames(bool exists, bool is_file) {
  std::vector<QName> names{Dav("resourcetype")};
  if (exists) names.push_back(Dav("getlastmodified"));
  if (is_file) {
    names.push_back(Dav("getcontentlength"));
    names.push_back(Dav("getetag"));
    names.push_back(Dav("getcontenttype"));
  }
  names.push_back(Dav("lockdiscovery"));
  names.push_back(Dav("supportedlock"));
  return names;
}

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
  const std::string lower = LowerAscii(name.substr(name.rfind('/') + 1));
  for (const Type& t : kTypes) {
    if (lower.size() > t.extension.size() &&
        std::string_view(lower).substr(lower.size() - t.extension.size()) == t.extension) {
      return std::string(t.type);
    }
  }
  return "application/octet-stream";
}

}  // namespace qbrk::emulator
