// The XML elements of the service's WebDAV answers: properties, propstats, multistatus
// documents and lock discovery.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dav_bodies.h"
#include "lock_table.h"
#include "xml_text.h"

namespace qbrk::emulator {

// <D:name/>, <F:name/> for the vendor namespace, or <name xmlns="ns"/> for any other.
std::string EmptyElement(const QName& name);
void AppendEmptyElement(std::string* out, const QName& name);
std::string Element(const QName& name, std::string_view inner_xml);
// <D:local>inner</D:local>
std::string Dav(std::string_view local, std::string_view inner_xml);
void AppendDav(std::string* out, std::string_view local, std::string_view inner_xml);

// "HTTP/1.1 207 Multi-Status" and the like, for status elements.
std::string StatusLine(int status);
// The XML declaration and the opening tag of a multistatus answer.
std::string MultistatusStart(Charset charset);
inline constexpr char kMultistatusEnd[] = "</D:multistatus>\n";
std::string PropstatXml(std::string_view props_xml, int status);
void AppendPropstat(std::string* out, std::string_view props_xml, int status);

// The answer of a PROPPATCH of the resource at href_xml: one propstat per status (200, 403,
// 409, 424), naming the properties whose operations got it.
std::string PropPatchAnswerXml(Charset charset, std::string_view href_xml,
                               const std::vector<PropPatchOperation>& ops,
                               const std::vector<int>& statuses);

inline constexpr char kSupportedLockXml[] =
    "<D:supportedlock><D:lockentry><D:lockscope><D:exclusive/></D:lockscope><D:locktype>"
    "<D:write/></D:locktype></D:lockentry><D:lockentry><D:lockscope><D:shared/></D:lockscope>"
    "<D:locktype><D:write/></D:locktype></D:lockentry></D:supportedlock>";

// One active lock at now_ms; root_href_xml is the locked resource's address, ready for XML.
std::string ActiveLockXml(const Lock& lock, int64_t now_ms, std::string_view root_href_xml);
// The lockdiscovery property around the active locks' elements (none: an empty element).
std::string LockDiscoveryXml(std::string_view active_locks_xml);
// The body of a LOCK's answer: the new or refreshed lock's discovery.
std::string LockAnswerXml(Charset charset, std::string_view active_lock_xml);

}  // namespace qbrk::emulator
