// Finding elements the way every server answer is read: an element matches a wanted name
// when its full name contains it ("D:lockdiscovery" and "lockdiscovery" both match
// "lockdiscovery"), the first matching child is taken, one level per wanted name.
#pragma once

#include <initializer_list>
#include <string_view>

#include "protocol/xml/xml_document.h"

namespace qbrk {

// The first child element of `parent` whose name contains `wanted`, or kNoXmlNode.
XmlNodeId FindChildElement(const XmlDocument& doc, XmlNodeId parent, std::string_view wanted);

// Goes down from `start` through the first matching child for each name in turn.
XmlNodeId FindPath(const XmlDocument& doc, XmlNodeId start,
                   std::initializer_list<std::string_view> path);

// The text of an element: its first child when that is a text node, else "".
std::string_view ElementText(const XmlDocument& doc, XmlNodeId element);

}  // namespace qbrk
