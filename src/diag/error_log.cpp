#include "diag/error_log.h"

#include <atomic>
#include <cstdio>
#include <memory>

#include "common/mbcs.h"

namespace qbrk {

namespace {

// PutLog's default, so that a job that rotates before any connection preparation has
// loaded the setting still keeps its log.
std::atomic<uint32_t> logging_level{5};

constexpr uint32_t kShareReadWrite = file_share::kRead | file_share::kWrite;

bool Exists(FileSystem& files, const std::string& path) {
  std::unique_ptr<FindHandle> find;
  FindData found;
  return files.FindFirst(path, &find, &found) == sys_error::kSuccess;
}

}  // namespace

uint32_t LoggingLevel() {
  return logging_level.load();
}
void SetLoggingLevel(uint32_t level) {
  logging_level.store(level);
}

ResultCode LogPath(FileSystem& files, uint32_t generation, std::string* path, size_t max_length) {
  if (path == nullptr || max_length == 0 || generation >= LoggingLevel()) return log_path::kRefused;
  if (generation > 99) return log_path::kBadNumber;
  std::string folder;
  if (files.TempFolder(&folder) != sys_error::kSuccess || folder.empty())
    return log_path::kNoFolder;
  if (!EndsWithSingleByte(folder, '\\')) folder += '\\';
  char name[16];
  std::snprintf(name, sizeof(name), "HVQbrook%02u.log", static_cast<unsigned>(generation));
  std::string full = folder + name;
  if (full.size() + 1 > max_length) return log_path::kNoFolder;
  *path = std::move(full);
  return result::kSuccess;
}

bool RotateLogs(FileSystem& files) {
  const uint32_t levels = LoggingLevel();
  for (uint32_t generation = levels; generation-- > 0;) {
    std::string current;
    if (LogPath(files, generation, &current) != result::kSuccess) return false;
    if (!Exists(files, current)) continue;
    if (generation == levels - 1) {
      if (files.RemoveFile(current) != sys_error::kSuccess) return false;
      continue;
    }
    std::string older;
    if (LogPath(files, generation + 1, &older) != result::kSuccess) return false;
    if (Exists(files, older) && files.RemoveFile(older) != sys_error::kSuccess) return false;
    if (files.Rename(current, older) != sys_error::kSuccess) return false;
  }
  std::string current;
  std::unique_ptr<File> file;
  if (LogPath(files, 0, &current) != result::kSuccess ||
      files.OpenFile(current, file_access::kWrite, kShareReadWrite, Disposition::kCreateAlways,
                     &file) != sys_error::kSuccess) {
    // Without a current file nothing could be logged; stop trying until PutLog is reloaded.
    SetLoggingLevel(0);
    return false;
  }
  return true;
}

std::string LogTimeStamp(const CalendarTime& local) {
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const char* month = local.month >= 1 && local.month <= 12 ? kMonths[local.month - 1] : "";
  char text[96];
  std::snprintf(text, sizeof(text), "%d/%s/%d:%d:%d:%d +0900", local.day, month, local.year,
                local.hour, local.minute, local.second);
  return text;
}

bool WriteLogLine(FileSystem& files, Clock& clock, uint32_t number, LogKind kind) {
  // The number field is printed signed.
  // Appended piece by piece: g++ 12 at -O3 warns falsely on `"literal" + std::string&&`.
  std::string line = "\"";
  line += LogTimeStamp(clock.LocalNow());
  line += "\" \"";
  line += kind == LogKind::kError ? "ERROR" : "EXCEPTION";
  line += "\" ";
  line += std::to_string(static_cast<int32_t>(number));
  line += "\r\n";
  return AppendToCurrentLog(files, {line});
}

std::string QuoteLoggedPath(std::string_view path) {
  std::string out;
  out.reserve(path.size());
  for (unsigned char c : path) {
    // None of these bytes can be the trail byte of a double-byte character.
    if (c < 0x20 || c == '"' || c == '%') {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

bool WriteSkippedNameLine(FileSystem& files, Clock& clock, std::string_view path) {
  std::string line = "\"";
  line += LogTimeStamp(clock.LocalNow());
  line += "\" \"SKIPPED\" \"";
  line += QuoteLoggedPath(path);
  line += "\"\r\n";
  return AppendToCurrentLog(files, {line});
}

bool AppendToCurrentLog(FileSystem& files, std::initializer_list<std::string_view> pieces) {
  std::string path;
  if (LogPath(files, 0, &path) != result::kSuccess) return false;
  std::unique_ptr<File> file;
  if (files.OpenFile(path, file_access::kWrite, kShareReadWrite, Disposition::kOpenExisting,
                     &file) != sys_error::kSuccess)
    return false;
  uint64_t end = 0;
  if (file->Seek(0, SeekOrigin::kEnd, &end) != sys_error::kSuccess) return false;
  for (std::string_view piece : pieces) {
    if (piece.size() > UINT32_MAX ||
        file->Write(piece.data(), static_cast<uint32_t>(piece.size())) != sys_error::kSuccess)
      return false;
  }
  return true;
}

}  // namespace qbrk
