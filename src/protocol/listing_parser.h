// Reading a folder listing (the multistatus answer of a Depth 1 PROPFIND) into find-data
// records, the form the scans consume.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/file_system.h"
#include "protocol/xml/xml_document.h"

namespace qbrk {

using Listing = std::vector<FindData>;

// True when `href` holds an upper-case ASCII letter as a single-byte character of code page
// 932. Trail bytes are never tested; an illegal byte ends the scan (the answer is then what
// was found before it).
bool HasSingleByteUpperAscii(std::string_view href);

// The last segment of a server path: one trailing "/" removed, then what follows the last
// "/" ("" without one).
std::string_view LastSegment(std::string_view path);

// Appends the members of a listing of `listed_path` to `items`. Skipped: responses whose href
// holds an upper-case letter (members the server could only name with upper case or
// escapes), the folder itself (href equal to `listed_path` byte for byte), files without
// `getcontentlength`, and members without a readable `getlastmodified`. Names are the hrefs'
// last segments as the server sent them, whole whatever their length.
void ReadListing(const XmlDocument& doc, std::string_view listed_path, Listing* items);

}  // namespace qbrk
