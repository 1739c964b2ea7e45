// The one date form the service speaks: "Sun, 06 Nov 1994 08:49:37 GMT" (29 characters).
//
// Times are seconds since 1970-01-01 00:00:00 UTC (negative before), in 64 bits wherever
// time_t is narrower, and the calendar is computed here rather than by the C library, so
// that the same code serves a 32-bit build and Windows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qbrk::emulator {

// Nothing (an empty text) for a time whose year has not four digits.
std::string FormatHttpDate(int64_t when);
void AppendHttpDate(std::string* out, int64_t when);

// Strict: exactly the fixed 29-character form, a real calendar date and the weekday that
// goes with it, so that a client formatting dates wrongly is caught.
std::optional<int64_t> ParseHttpDate(std::string_view text);

}  // namespace qbrk::emulator
