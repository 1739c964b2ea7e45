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
    // Whole, however long: a shortened name would name another resource, and a later
    // DELETE or download would reach that one. Names that cannot be a local file name are
    // the sync engine's to refuse.
    item.name = std::string(LastSegment(href));
    items->push_back(std::move(item));
  }
}

}  // namespace qbrk
