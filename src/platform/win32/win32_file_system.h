// Files and folders through the kernel32 ANSI calls.
#pragma once

#include "platform/file_system.h"

namespace qbrk {

class Win32FileSystem final : public FileSystem {
 public:
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
};

}  // namespace qbrk
