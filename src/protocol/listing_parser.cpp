#include "protocol/listing_parser.h"

#include "common/mbcs.h"
#include "protocol/decimal.h"
#include "protocol/http_date.h"
#include "protocol/xml/xml_match.h"

namespace qbrk {

namespace {

constexpr uint32_t kFileAttributes = file_attr::kNormal;
constexpr uint32_t kFolderAttributes = file_attr::kDirectory;

bool IsTrailByte(unsigned char c) {
  return c >= 0x40 && c <= 0xFC && c != 0x7F;
}
// Single bytes code page 932 leaves undefined.
bool IsIllegalSingleByte(unsigned char c) {
  return c == 0x80 || c == 0xA0 || c >= 0xFD;
}

// Cuts `name` to `limit` bytes without splitting a double-byte character.
std::string_view CutName(std::string_view name, size_t limit) {
  if (name.size() <= limit) return name;
  size_t end = 0;
  while (end < limit) {
    const size_t step = IsLeadByte(static_cast<unsigned char>(name[end])) ? 2 : 1;
    if (end + step > limit) break;
    end += step;
  }
  return name.substr(0, end);
}

}  // namespace

bool HasSingleByteUpperAscii(std::string_view href) {
  for (size_t i = 0; i < href.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(href[i]);
    if (IsLeadByte(c)) {
      if (i + 1 >= href.size() || !IsTrailByte(static_cast<unsigned char>(href[i + 1])))
        return false;
      ++i;
    } else if (IsIllegalSingleByte(c)) {
      return false;
    } else if (c >= 'A' && c <= 'Z') {
      return true;
    }
  }
  return false;
}

std::string_view LastSegment(std::string_view path) {
  if (!path.empty() && path.back() == '/') path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
}

void ReadListing(const XmlDocument& doc, std::string_view listed_path, Listing* items) {
  const XmlNodeId multistatus = doc.FirstElement();
  for (XmlNodeId response = doc.FirstChild(multistatus); response != kNoXmlNode;
       response = doc.NextSibling(response)) {
    if (!doc.IsElement(response) || doc.Name(response).find("response") == std::string_view::npos)
      continue;
    const std::string_view href = ElementText(doc, FindChildElement(doc, response, "href"));
    if (HasSingleByteUpperAscii(href)) continue;
    const XmlNodeId prop = FindPath(doc, response, {"propstat", "prop"});
    FindData item;
    if (!href.empty() && href.back() == '/') {
      if (href == listed_path) continue;
      item.attributes = kFolderAttributes;
    } else {
      const XmlNodeId length = FindChildElement(doc, prop, "getcontentlength");
      if (length == kNoXmlNode) continue;
      item.attributes = kFileAttributes;
      item.size = LeadingDecimal(ElementText(doc, length));
    }
    const XmlNodeId modified = FindChildElement(doc, prop, "getlastmodified");
    if (modified == kNoXmlNode || !ParseHttpDate(ElementText(doc, modified), &item.last_write_time))
      continue;
    item.name = std::string(CutName(LastSegment(href), kMaxListingName));
    items->push_back(std::move(item));
  }
}

}  // namespace qbrk
