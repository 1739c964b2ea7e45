// Paths, locks and text of the model service: the emulator's own rules (emulator/core) for
// request paths, header values, the If header, the lock table, escapes and the text of its
// answers, so that the two cannot drift; and the model's own forms of times and numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "emulator/core/ascii_case.h"
#include "emulator/core/content_range.h"
#include "emulator/core/credentials.h"
#include "emulator/core/dav_bodies.h"
#include "emulator/core/dav_elements.h"
#include "emulator/core/dav_headers.h"
#include "emulator/core/disk_path.h"
#include "emulator/core/folder_page.h"
#include "emulator/core/headers.h"
#include "emulator/core/http_date.h"
#include "emulator/core/if_header.h"
#include "emulator/core/live_properties.h"
#include "emulator/core/lock_table.h"
#include "emulator/core/refusal.h"
#include "emulator/core/xml_text.h"

namespace qbrk::model {

using emulator::ChangeScope;
using emulator::Charset;
using emulator::ContentRange;
using emulator::FolderPageEntry;
using emulator::IfHeader;
using emulator::Lock;
using emulator::LockRequest;
using emulator::LockScope;
using emulator::LockTable;
using emulator::PropfindRequest;
using emulator::PropPatchOperation;
using emulator::QName;
using emulator::Refusal;
using emulator::ResourceState;

using emulator::AddressPath;
using emulator::AppendDav;
using emulator::AppendEmptyElement;
using emulator::AppendHrefText;
using emulator::AppendPropstat;
using emulator::CharsetName;
using emulator::ChildOf;
using emulator::ChosenCharset;
using emulator::ContentTypeOf;
using emulator::Element;
using emulator::EqualsIgnoringAsciiCase;
using emulator::EvaluateIfHeader;
using emulator::FindHeader;
using emulator::HrefText;
using emulator::IsCreatableName;
using emulator::IsLiveProperty;
using emulator::IsWithin;
using emulator::kAllowedMethods;
using emulator::kDavNamespace;
using emulator::kMaxXmlBodyBytes;
using emulator::kMultistatusEnd;
using emulator::LowerAscii;
using emulator::MultistatusStart;
using emulator::NameOf;
using emulator::ParentOf;
using emulator::ParseDepth;
using emulator::ParseIfHeader;
using emulator::TrimXmlSpace;
using emulator::XmlEscape;

// The model's times are FILETIMEs (100 ns since 1601), the emulator's dates count seconds since
// 1970.
int64_t UnixSeconds(uint64_t file_time);
// Nothing for a time before 1601, which a FILETIME cannot hold.
std::optional<uint64_t> FileTimeOfUnixSeconds(int64_t seconds);
// "Sun, 06 Nov 1994 08:49:37 GMT"; nothing for a time whose year has not four digits.
std::string HttpDate(uint64_t file_time);

// Lower-case hexadecimal digits, without leading zeros (at least `width` digits).
void AppendHex(std::string* out, uint64_t value, int width = 1);

}  // namespace qbrk::model
