// An in-memory file system with the Win32 behaviours the library depends on: drive-letter
// paths, ASCII case-insensitive names (double-byte aware), attributes, share modes and
// their violations, "." and ".." in folder searches, and the error numbers of each failure.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/file_system.h"

namespace qbrk {

class MemoryFileSystem final : public FileSystem {
 public:
  // Operations a test can make fail (see set_fault).
  enum class Op { kOpen, kFind, kGetAttributes, kSetAttributes, kMakeDirectory,
                  kRemoveDirectory, kRemoveFile, kRename, kRenameReplacing, kRead, kWrite,
                  kFlush, kSetTimes, kTempFolder, kMakeTempFile };
  using Fault = std::function<SysError(Op op, const std::string& path)>;

  // Times of new and written files come from `clock`. Drive C: exists, with C:\TEMP\ as the
  // temporary folder.
  explicit MemoryFileSystem(Clock& clock);
  ~MemoryFileSystem() override;

  SysError OpenFile(const std::string& path, uint32_t access, uint32_t share,
                    Disposition disposition, std::unique_ptr<File>* file) override;
  SysError FindFirst(const std::string& pattern, std::unique_ptr<FindHandle>* find,
                     FindData* first) override;
  SysError GetAttributes(const std::string& path, uint32_t* attributes) override;
  SysError SetAttributes(const std::string& path, uint32_t attributes) override;
  SysError MakeDirectory(const std::string& path) override;
  SysError RemoveEmptyDirectory(const std::string& path) override;
  SysError RemoveFile(const std::string& path) override;
  SysError Rename(const std::string& from, const std::string& to) override;
  SysError RenameReplacing(const std::string& from, const std::string& to) override;
  SysError TempFolder(std::string* path) override;
  SysError MakeTempFile(const std::string& folder, const std::string& prefix,
                        std::string* path) override;

  // Test helpers, outside the Win32 contract.
  void set_fault(Fault fault) { fault_ = std::move(fault); }
  void set_temp_folder(std::string path) { temp_folder_ = std::move(path); }
  // Total bytes the files may hold; writes beyond it fail with 112.
  void set_capacity(uint64_t bytes) { capacity_ = bytes; }
  void AddDrive(char letter);
  // Writes a whole file, creating missing folders; returns false when the path is unusable.
  bool WriteWholeFile(const std::string& path, const std::string& content);
  // The content of a file, or false.
  bool ReadWholeFile(const std::string& path, std::string* content) const;
  bool Exists(const std::string& path) const;
  // A file whose true name the ANSI calls cannot express: searches report it as
  // `reported_name` (with "?" for the characters code page 932 lacks), and no call can open
  // it by that name. False when `folder` is unusable.
  bool AddUnrepresentableFile(const std::string& folder, const std::string& reported_name,
                              const std::string& content);
  // Every path below `folder` (folders end with a backslash), sorted.
  std::vector<std::string> List(const std::string& folder) const;

 // Opaque tree node; public only so that helpers in the implementation file can name it.
  struct Node;

 private:
  struct Opened;
  class OpenFileImpl;
  class FindImpl;
  friend class OpenFileImpl;

  // Rename and RenameReplacing after their injected faults.
  SysError MoveNode(const std::string& from, const std::string& to, bool replacing);
  // The node of a path, or null with the Win32 error of the lookup.
  std::shared_ptr<Node> Resolve(const std::string& path, SysError* error) const;
  // The parent folder node of a path and its last name, or null with an error.
  std::shared_ptr<Node> ResolveParent(const std::string& path, std::string* name,
                                      SysError* error) const;
  SysError InjectedFault(Op op, const std::string& path) const;
  uint64_t UsedBytes() const;

  Clock& clock_;
  std::map<char, std::shared_ptr<Node>> drives_;
  std::string temp_folder_ = "C:\\TEMP\\";
  uint64_t capacity_ = UINT64_MAX;
  uint32_t next_temp_number_ = 1;
  Fault fault_;
};

}  // namespace qbrk
