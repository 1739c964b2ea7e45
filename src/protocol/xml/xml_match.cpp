#include "protocol/xml/xml_match.h"

namespace qbrk {

XmlNodeId FindChildElement(const XmlDocument& doc, XmlNodeId parent, std::string_view wanted) {
  for (XmlNodeId child = doc.FirstChild(parent); child != kNoXmlNode;
       child = doc.NextSibling(child)) {
    if (doc.IsElement(child) && doc.Name(child).find(wanted) != std::string_view::npos)
      return child;
  }
  return kNoXmlNode;
}

XmlNodeId FindPath(const XmlDocument& doc, XmlNodeId start,
                   std::initializer_list<std::string_view> path) {
  XmlNodeId node = start;
  for (std::string_view wanted : path) {
    if (node == kNoXmlNode) break;
    node = FindChildElement(doc, node, wanted);
  }
  return node;
}

std::string_view ElementText(const XmlDocument& doc, XmlNodeId element) {
  const XmlNodeId first = doc.FirstChild(element);
  return doc.IsText(first) ? doc.Text(first) : std::string_view();
}

}  // namespace qbrk
