// The error log: rotating files "HVQbrook00.log" (current) to "HVQbrookNN.log" in the
// temporary folder. Logging never reports a failure and never stops a job.
#pragma once

#include <cstdint>
#include <string>

#include "common/result_code.h"
#include "platform/clock.h"
#include "platform/file_system.h"

namespace qbrk {

// The process-wide logging level, loaded from PutLog at every connection preparation: the
// on/off switch (nonzero = on) and the number of generations kept.
uint32_t LoggingLevel();
void SetLoggingLevel(uint32_t level);

enum class LogKind { kError = 1, kException = 2 };

// Path of generation `generation`: 0 success; 3 when the generation is not below the
// logging level; 2 when the temporary folder is unknown or the path longer than
// `max_length` bytes (terminator included); 500 when the number has more than two digits.
ResultCode LogPath(FileSystem& files, uint32_t generation, std::string* path,
                   size_t max_length = 260);

// Shifts the generations and creates an empty current file; true when a fresh current file
// exists afterwards. Sets the logging level to 0 when the current file cannot be created.
bool RotateLogs(FileSystem& files);

// Appends "\"d/Mon/yyyy:h:m:s +0900\" \"KIND\" number\r\n" to the current file, only when
// the rotation created it; true when written.
bool WriteLogLine(FileSystem& files, Clock& clock, uint32_t number, LogKind kind);

// The time stamp "d/Mon/yyyy:h:m:s +0900" of a local time (no zero padding; the zone text
// is fixed; an impossible month gives an empty month name).
std::string LogTimeStamp(const CalendarTime& local);

}  // namespace qbrk
