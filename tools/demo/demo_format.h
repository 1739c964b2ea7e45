// Small text forms of the demonstration's lines.
#pragma once

#include <cstdint>
#include <string>

#include "common/result_code.h"
#include "platform/string_table.h"

namespace qbrk::demo {

// "2001-02-03 04:05:06 UTC"; "(no time)" for a FILETIME the calendar cannot hold.
std::string FormatFileTime(uint64_t file_time);

// "5,368,709,120": digits grouped by three.
std::string GroupDigits(uint64_t value);

// How many requests an upload of `size` bytes takes with the upload unit `unit` (0: never
// split): one up to the unit, else one per started unit.
uint64_t UploadPieces(uint64_t size, uint32_t unit);

// "result code 74: <the error reporter's message on one line>". Codes the reporter never
// shows (1, stopped) are named instead.
std::string DescribeFailure(ResultCode code, const std::string& subject, StringTable& strings);

}  // namespace qbrk::demo
