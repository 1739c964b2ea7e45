#include "protocol/quota_parser.h"

#include <string_view>

#include "protocol/decimal.h"
#include "protocol/xml/xml_match.h"

namespace qbrk {

namespace {

int64_t Figure(const XmlDocument& doc, XmlNodeId prop, std::string_view name) {
  std::string_view text = ElementText(doc, FindChildElement(doc, prop, name));
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t' || text.front() == '\r' ||
                           text.front() == '\n'))
    text.remove_prefix(1);
  const uint64_t value = LeadingDecimal(text);
  return value > static_cast<uint64_t>(INT64_MAX) ? INT64_MAX : static_cast<int64_t>(value);
}

}  // namespace

bool ReadQuota(const XmlDocument& doc, QuotaFigures* figures) {
  const XmlNodeId prop = FindPath(doc, doc.FirstElement(), {"response", "propstat", "prop"});
  if (prop == kNoXmlNode) return false;
  figures->quota = Figure(doc, prop, "getquotasize");
  figures->used = Figure(doc, prop, "getusedsize");
  figures->free = Figure(doc, prop, "getfreesize");
  return true;
}

}  // namespace qbrk
