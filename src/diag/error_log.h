// The error log: rotating files "HVQbrook00.log" (current) to "HVQbrookNN.log" in the
// temporary folder. Logging never reports a failure and never stops a job.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "common/calendar_time.h"
#include "common/result_code.h"
#include "platform/clock.h"
#include "platform/file_system.h"

namespace qbrk {

// The process-wide logging level, loaded from PutLog at every connection preparation: the
// on/off switch (nonzero = on) and the number of generations kept. Until the first load it
// holds PutLog's default, 5.
uint32_t LoggingLevel();
void SetLoggingLevel(uint32_t level);

enum class LogKind { kError = 1, kException = 2 };

// Results of LogPath besides result::kSuccess.
namespace log_path {
inline constexpr ResultCode kNoFolder = 2;     // no temporary folder, or the path is too long
inline constexpr ResultCode kRefused = 3;      // generation not below the logging level
inline constexpr ResultCode kBadNumber = 500;  // more than two digits
}  // namespace log_path

// Path of generation `generation`: 0 success; 3 when `path` is null, `max_length` is 0 or
// the generation is not below the logging level; 2 when the temporary folder is unknown or
// the path longer than `max_length` bytes (terminator included); 500 when the number has
// more than two digits.
ResultCode LogPath(FileSystem& files, uint32_t generation, std::string* path,
                   size_t max_length = 260);

// Shifts the generations and creates an empty current file; true when a fresh current file
// exists afterwards. A failed delete or rename ends the rotation where it stands. Sets the
// logging level to 0 when the current file cannot be created.
bool RotateLogs(FileSystem& files);

// Appends "\"d/Mon/yyyy:h:m:s +0900\" \"KIND\" number\r\n" to the current file, only when
// the rotation created it; true when written.
bool WriteLogLine(FileSystem& files, Clock& clock, uint32_t number, LogKind kind);

// Appends "\"d/Mon/yyyy:h:m:s +0900\" \"SKIPPED\" \"path\"\r\n" for a name that synchronization
// leaves out (a server name that cannot be a local file name, a local name the code page
// cannot hold). The path is written with QuoteLoggedPath. True when written.
bool WriteSkippedNameLine(FileSystem& files, Clock& clock, std::string_view path);

// A path as the SKIPPED line carries it: bytes below 0x20, '"' and '%' become %XX (two
// upper-case hex digits), so that the line stays one quoted field whatever the name holds.
std::string QuoteLoggedPath(std::string_view path);

// The time stamp "d/Mon/yyyy:h:m:s +0900" of a local time (no zero padding; the zone text
// is fixed; an impossible month gives an empty month name).
std::string LogTimeStamp(const CalendarTime& local);

// Appends the pieces to the current file (generation 00) without ever creating it; stops
// at the first failure. True when everything was written.
bool AppendToCurrentLog(FileSystem& files, std::initializer_list<std::string_view> pieces);

}  // namespace qbrk
