// The files of one account's disk in the data folder: one real file or folder per
// resource, named with the resource's raw bytes, so that a person can look inside.
// A resource's last-modified time is its file's modification time.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "unique_fd.h"

namespace qbrk::emulator {

struct Node {
  enum class Kind { kMissing, kFile, kFolder, kOther };
  Kind kind = Kind::kMissing;
  uint64_t size = 0;
  time_t modified = 0;
  int64_t modified_ns = 0;
  uint64_t inode = 0;

  bool exists() const { return kind == Kind::kFile || kind == Kind::kFolder; }
  bool is_file() const { return kind == Kind::kFile; }
  bool is_folder() const { return kind == Kind::kFolder; }
  // Strong entity tag of a file; changes whenever its content is replaced.
  std::string ETag() const;
};

class DiskStore {
 public:
  explicit DiskStore(std::string root) : root_(std::move(root)) {}

  const std::string& root() const { return root_; }
  std::string FsPath(std::string_view rel) const;

  // Symbolic links and special files are reported as kOther and never followed.
  Node Stat(std::string_view rel) const;
  // Names of the files and folders directly inside, sorted byte-wise.
  std::vector<std::string> Children(std::string_view rel) const;

  // Each returns 0 or an errno value.
  int MakeFolder(std::string_view rel) const;
  int SetModified(std::string_view rel, time_t when) const;
  int RemoveTree(std::string_view rel) const;
  int CopyTree(std::string_view from, std::string_view to) const;
  int Rename(std::string_view from, std::string_view to) const;
  // Moves a finished temporary file into place, replacing what was there.
  int Install(const std::string& temp_path, std::string_view rel) const;

  // Bytes of all files at or below rel.
  uint64_t TreeBytes(std::string_view rel) const;

  UniqueFd OpenForReading(std::string_view rel) const;

 private:
  std::string root_;
};

// Creates a fresh, empty temporary file in dir; the path goes to *path.
UniqueFd CreateTempFile(const std::string& dir, std::string* path);

// Writes all bytes or returns an errno value.
int WriteAll(int fd, const char* data, size_t size);

// Creates dir and its missing parents; 0 or an errno value.
int MakeFolders(const std::string& dir);

}  // namespace qbrk::emulator
