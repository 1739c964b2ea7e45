// HTTP dates in the one form the service uses, the fixed-length RFC 1123 form with the zone
// "GMT": "Sun, 06 Nov 1994 08:49:37 GMT" (29 characters). Times are FILETIMEs (UTC); no
// zone conversion happens here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qbrk {

inline constexpr size_t kHttpDateLength = 29;

// False when the time has no calendar form or the text would not be 29 characters long
// (a year that is not four digits).
bool FormatHttpDate(uint64_t file_time, std::string* text);

// Reads the fields at their fixed positions. The weekday and month names must be one of the
// English abbreviations (case-sensitive); the weekday is not checked against the date, and
// the separators and the zone text are not checked at all. False for any other length or an
// impossible date.
bool ParseHttpDate(std::string_view text, uint64_t* file_time);

}  // namespace qbrk
