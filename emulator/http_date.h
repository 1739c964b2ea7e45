// The one date form the service speaks: "Sun, 06 Nov 1994 08:49:37 GMT" (29 characters).
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace qbrk::emulator {

std::string FormatHttpDate(time_t when);

// Strict: exactly the fixed 29-character form, a real calendar date and the weekday that
// goes with it, so that a client formatting dates wrongly is caught.
std::optional<time_t> ParseHttpDate(std::string_view text);

}  // namespace qbrk::emulator
