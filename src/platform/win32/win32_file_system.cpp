#include "platform/win32/win32_file_system.h"

#include <windows.h>

#include <vector>

#include "platform/win32/unique_handle.h"

namespace qbrk {

namespace {

// The error of the call that just failed; read before anything else can overwrite it.
SysError LastError() {
  const DWORD error = GetLastError();
  // A failing call that forgot to set an error must still read as a failure.
  return error ? error : sys_error::kInvalidParameter;
}

uint64_t FromFileTime(const FILETIME& time) {
  return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

FILETIME ToFileTime(uint64_t time) {
  FILETIME out;
  out.dwLowDateTime = static_cast<DWORD>(time);
  out.dwHighDateTime = static_cast<DWORD>(time >> 32);
  return out;
}

FindData FromFindData(const WIN32_FIND_DATAA& data) {
  FindData out;
  out.attributes = data.dwFileAttributes;
  out.creation_time = FromFileTime(data.ftCreationTime);
  out.last_access_time = FromFileTime(data.ftLastAccessTime);
  out.last_write_time = FromFileTime(data.ftLastWriteTime);
  out.size = (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  out.name = data.cFileName;
  return out;
}

class Win32File final : public File {
 public:
  explicit Win32File(UniqueFile handle) : handle_(std::move(handle)) {}

  SysError Read(void* buffer, uint32_t size, uint32_t* read) override {
    DWORD done = 0;
    const BOOL ok = ReadFile(handle_.get(), buffer, size, &done, nullptr);
    const SysError error = ok ? 0 : LastError();
    *read = done;
    return error;
  }

  SysError Write(const void* data, uint32_t size) override {
    DWORD done = 0;
    if (!WriteFile(handle_.get(), data, size, &done, nullptr)) return LastError();
    // A short write to a disk file means the disk filled up.
    return done == size ? sys_error::kSuccess : sys_error::kDiskFull;
  }

  SysError Seek(int64_t offset, SeekOrigin origin, uint64_t* position) override {
    LARGE_INTEGER distance;
    distance.QuadPart = offset;
    LARGE_INTEGER now;
    if (!SetFilePointerEx(handle_.get(), distance, &now, static_cast<DWORD>(origin)))
      return LastError();
    if (position) *position = static_cast<uint64_t>(now.QuadPart);
    return sys_error::kSuccess;
  }

  SysError GetSize(uint64_t* size) override {
    LARGE_INTEGER value;
    if (!GetFileSizeEx(handle_.get(), &value)) return LastError();
    *size = static_cast<uint64_t>(value.QuadPart);
    return sys_error::kSuccess;
  }

  SysError SetTimes(const uint64_t* creation, const uint64_t* last_access,
                    const uint64_t* last_write) override {
    FILETIME c, a, w;
    if (creation) c = ToFileTime(*creation);
    if (last_access) a = ToFileTime(*last_access);
    if (last_write) w = ToFileTime(*last_write);
    if (!SetFileTime(handle_.get(), creation ? &c : nullptr, last_access ? &a : nullptr,
                     last_write ? &w : nullptr))
      return LastError();
    return sys_error::kSuccess;
  }

  SysError GetTimes(uint64_t* creation, uint64_t* last_access, uint64_t* last_write) override {
    FILETIME c, a, w;
    if (!GetFileTime(handle_.get(), &c, &a, &w)) return LastError();
    if (creation) *creation = FromFileTime(c);
    if (last_access) *last_access = FromFileTime(a);
    if (last_write) *last_write = FromFileTime(w);
    return sys_error::kSuccess;
  }

  SysError SetEnd() override {
    if (!SetEndOfFile(handle_.get())) return LastError();
    return sys_error::kSuccess;
  }

  SysError Flush() override {
    if (!FlushFileBuffers(handle_.get())) return LastError();
    return sys_error::kSuccess;
  }

 private:
  UniqueFile handle_;
};

class Win32Find final : public FindHandle {
 public:
  explicit Win32Find(UniqueFind handle) : handle_(std::move(handle)) {}

  SysError Next(FindData* data) override {
    WIN32_FIND_DATAA raw;
    if (!FindNextFileA(handle_.get(), &raw)) return LastError();
    *data = FromFindData(raw);
    return sys_error::kSuccess;
  }

 private:
  UniqueFind handle_;
};

}  // namespace

SysError Win32FileSystem::OpenFile(const std::string& path, uint32_t access, uint32_t share,
                                   Disposition disposition, std::unique_ptr<File>* file) {
  UniqueFile handle(CreateFileA(path.c_str(), access, share, nullptr,
                                static_cast<DWORD>(disposition), FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!handle) return LastError();
  *file = std::make_unique<Win32File>(std::move(handle));
  return sys_error::kSuccess;
}

SysError Win32FileSystem::FindFirst(const std::string& pattern, std::unique_ptr<FindHandle>* find,
                                    FindData* first) {
  WIN32_FIND_DATAA raw;
  UniqueFind handle(FindFirstFileA(pattern.c_str(), &raw));
  if (!handle) return LastError();
  *first = FromFindData(raw);
  *find = std::make_unique<Win32Find>(std::move(handle));
  return sys_error::kSuccess;
}

SysError Win32FileSystem::GetAttributes(const std::string& path, uint32_t* attributes) {
  const DWORD value = GetFileAttributesA(path.c_str());
  if (value == INVALID_FILE_ATTRIBUTES) return LastError();
  *attributes = value;
  return sys_error::kSuccess;
}

SysError Win32FileSystem::SetAttributes(const std::string& path, uint32_t attributes) {
  if (!SetFileAttributesA(path.c_str(), attributes)) return LastError();
  return sys_error::kSuccess;
}

SysError Win32FileSystem::MakeDirectory(const std::string& path) {
  if (!CreateDirectoryA(path.c_str(), nullptr)) return LastError();
  return sys_error::kSuccess;
}

SysError Win32FileSystem::RemoveEmptyDirectory(const std::string& path) {
  if (!RemoveDirectoryA(path.c_str())) return LastError();
  return sys_error::kSuccess;
}

SysError Win32FileSystem::RemoveFile(const std::string& path) {
  if (!DeleteFileA(path.c_str())) return LastError();
  return sys_error::kSuccess;
}

SysError Win32FileSystem::Rename(const std::string& from, const std::string& to) {
  if (!MoveFileA(from.c_str(), to.c_str())) return LastError();
  return sys_error::kSuccess;
}

SysError Win32FileSystem::RenameReplacing(const std::string& from, const std::string& to) {
  if (!MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    return LastError();
  return sys_error::kSuccess;
}

SysError Win32FileSystem::TempFolder(std::string* path) {
  std::vector<char> buffer(MAX_PATH + 1);
  // The first answer may be the size needed rather than the path; one retry covers it.
  for (int attempt = 0; attempt < 2; ++attempt) {
    const DWORD length = GetTempPathA(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length == 0) return LastError();
    if (length < buffer.size()) {
      path->assign(buffer.data(), length);
      return sys_error::kSuccess;
    }
    buffer.resize(length + 1);
  }
  return sys_error::kFilenameTooLong;
}

SysError Win32FileSystem::MakeTempFile(const std::string& folder, const std::string& prefix,
                                       std::string* path) {
  char name[MAX_PATH + 1] = {};
  if (GetTempFileNameA(folder.c_str(), prefix.c_str(), 0, name) == 0) return LastError();
  *path = name;
  return sys_error::kSuccess;
}

}  // namespace qbrk
