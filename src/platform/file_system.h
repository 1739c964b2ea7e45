// Files and folders with Win32 semantics: paths are code-page 932 byte strings with
// backslashes, names compare case-insensitively, and failures are Win32 error numbers.
//
// Method names avoid the Win32 A/W macro names (CreateDirectory, DeleteFile, ...) so that
// this header means the same with and without <windows.h>.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/sys_error.h"

namespace qbrk {

// File attribute bits (FILE_ATTRIBUTE_*).
namespace file_attr {
inline constexpr uint32_t kReadOnly = 0x1;
inline constexpr uint32_t kHidden = 0x2;
inline constexpr uint32_t kSystem = 0x4;
inline constexpr uint32_t kDirectory = 0x10;
inline constexpr uint32_t kArchive = 0x20;
inline constexpr uint32_t kNormal = 0x80;
inline constexpr uint32_t kInvalid = 0xFFFFFFFF;
}  // namespace file_attr

// Access and sharing bits use the Win32 values (GENERIC_READ, FILE_SHARE_READ, ...).
namespace file_access {
inline constexpr uint32_t kRead = 0x80000000;
inline constexpr uint32_t kWrite = 0x40000000;
}  // namespace file_access
namespace file_share {
inline constexpr uint32_t kNone = 0;
inline constexpr uint32_t kRead = 1;
inline constexpr uint32_t kWrite = 2;
inline constexpr uint32_t kDelete = 4;
}  // namespace file_share

// CreateFile dispositions, with their Win32 values.
enum class Disposition : uint32_t {
  kCreateNew = 1,
  kCreateAlways = 2,
  kOpenExisting = 3,
  kOpenAlways = 4,
  kTruncateExisting = 5,
};

enum class SeekOrigin : uint32_t { kBegin = 0, kCurrent = 1, kEnd = 2 };

// One record of a folder search (the fields of WIN32_FIND_DATAA the library uses).
// Times are FILETIME values: 100 ns units since 1601-01-01 UTC.
struct FindData {
  uint32_t attributes = 0;
  uint64_t creation_time = 0;
  uint64_t last_access_time = 0;
  uint64_t last_write_time = 0;
  uint64_t size = 0;
  std::string name;
};

// An open file. Destruction closes it.
class File {
 public:
  virtual ~File() = default;
  // Reads up to `size` bytes; `*read` is 0 at the end of the file.
  virtual SysError Read(void* buffer, uint32_t size, uint32_t* read) = 0;
  // Writes all `size` bytes or fails (112 when the disk is full).
  virtual SysError Write(const void* data, uint32_t size) = 0;
  virtual SysError Seek(int64_t offset, SeekOrigin origin, uint64_t* position) = 0;
  virtual SysError GetSize(uint64_t* size) = 0;
  // Any of the three may be null to leave that time unchanged.
  virtual SysError SetTimes(const uint64_t* creation, const uint64_t* last_access,
                            const uint64_t* last_write) = 0;
  virtual SysError GetTimes(uint64_t* creation, uint64_t* last_access, uint64_t* last_write) = 0;
  // Cuts or extends the file at the current position.
  virtual SysError SetEnd() = 0;
  // FlushFileBuffers: what was written is on the disk when this returns 0.
  virtual SysError Flush() = 0;
};

// An open folder search. Destruction closes it.
class FindHandle {
 public:
  virtual ~FindHandle() = default;
  // Fills the next record; 18 (no more files) at the end.
  virtual SysError Next(FindData* data) = 0;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // CreateFileA. `access` and `share` are combinations of the bits above.
  virtual SysError OpenFile(const std::string& path, uint32_t access, uint32_t share,
                            Disposition disposition, std::unique_ptr<File>* file) = 0;
  // FindFirstFileA: `pattern` is a folder path plus a last part that may hold * and ?.
  // 2 when nothing matches, 3 when the folder is missing.
  virtual SysError FindFirst(const std::string& pattern, std::unique_ptr<FindHandle>* find,
                             FindData* first) = 0;
  virtual SysError GetAttributes(const std::string& path, uint32_t* attributes) = 0;
  virtual SysError SetAttributes(const std::string& path, uint32_t attributes) = 0;
  // CreateDirectoryA: 183 when it exists, 3 when the parent is missing.
  virtual SysError MakeDirectory(const std::string& path) = 0;
  // RemoveDirectoryA: 145 when not empty.
  virtual SysError RemoveEmptyDirectory(const std::string& path) = 0;
  // DeleteFileA: 5 for a read-only file or a folder, 32 while another handle lacks delete sharing.
  virtual SysError RemoveFile(const std::string& path) = 0;
  // MoveFileA: fails with 183 when the target exists.
  virtual SysError Rename(const std::string& from, const std::string& to) = 0;
  // MoveFileExA with MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH: puts `from` in the
  // place of `to` in one step, so that `to` is at every moment either the old file or the
  // new one. Within one folder this is atomic. 5 when `to` is read-only or a folder.
  virtual SysError RenameReplacing(const std::string& from, const std::string& to) = 0;
  // GetTempPathA: the temporary folder, ending with a backslash.
  virtual SysError TempFolder(std::string* path) = 0;
  // GetTempFileNameA with a system-chosen number: creates an empty file and names it.
  virtual SysError MakeTempFile(const std::string& folder, const std::string& prefix,
                                std::string* path) = 0;
};

}  // namespace qbrk
