#include "sync/local_removal.h"

#include <memory>
#include <vector>

#include "sync/name_rules.h"
#include "sync/table_format.h"

namespace qbrk {

namespace {

// The entries of a folder (without "." and ".."); false when it cannot be listed. A folder
// that is gone lists as empty with `*gone` set.
bool ListFolder(FileSystem& files, const std::string& path, std::vector<FindData>* entries,
                bool* gone) {
  *gone = false;
  std::unique_ptr<FindHandle> find;
  FindData data;
  SysError e = files.FindFirst(path + "\\*.*", &find, &data);
  if (e == sys_error::kPathNotFound || e == sys_error::kFileNotFound) {
    *gone = e == sys_error::kPathNotFound;
    return true;
  }
  for (; e == sys_error::kSuccess; e = find->Next(&data)) {
    if (data.name != "." && data.name != "..") entries->push_back(data);
  }
  return e == sys_error::kNoMoreFiles;
}

bool RemoveEntry(FileSystem& files, const std::string& path, const FindData& entry,
                 uint32_t levels) {
  const std::string full = path + "\\" + entry.name;
  if (entry.attributes & file_attr::kDirectory) return RemoveFolderTree(files, full, levels);
  files.SetAttributes(full, file_attr::kNormal);
  const SysError e = files.RemoveFile(full);
  return e == sys_error::kSuccess || e == sys_error::kFileNotFound;
}

bool RemoveEmptyFolder(FileSystem& files, const std::string& path) {
  files.SetAttributes(path, file_attr::kNormal);
  const SysError e = files.RemoveEmptyDirectory(path);
  return e == sys_error::kSuccess || e == sys_error::kFileNotFound ||
         e == sys_error::kPathNotFound;
}

}  // namespace

bool RemoveFolderTree(FileSystem& files, const std::string& path, uint32_t levels) {
  if (levels == 0) return false;
  std::vector<FindData> entries;
  bool gone = false;
  if (!ListFolder(files, path, &entries, &gone)) return false;
  if (gone) return true;
  for (const FindData& entry : entries) {
    if (!RemoveEntry(files, path, entry, levels - 1)) return false;
  }
  return RemoveEmptyFolder(files, path);
}

bool RemoveLocalFolderRest(FileSystem& files, const SyncTable& rules, const std::string& path,
                           bool* kept) {
  *kept = false;
  std::vector<FindData> entries;
  bool gone = false;
  if (!ListFolder(files, path, &entries, &gone)) return false;
  if (gone) return true;
  for (const FindData& entry : entries) {
    const bool by_rule = entry.name[0] == '.' || rules.IsExcludedSuffix(entry.name);
    // A name reported with "?" for a character code page 932 lacks opens nothing (123), so
    // that entry cannot be removed: it stays like something new.
    if (!by_rule || HasSubstitutedCharacter(entry.name)) {
      *kept = true;
      continue;
    }
    if (!RemoveEntry(files, path, entry, kMaxTreeDepth)) return false;
  }
  if (*kept) return true;
  files.SetAttributes(path, file_attr::kNormal);
  const SysError e = files.RemoveEmptyDirectory(path);
  if (e == sys_error::kDirNotEmpty) {
    *kept = true;  // something arrived between the listing and the removal
    return true;
  }
  return e == sys_error::kSuccess || e == sys_error::kFileNotFound ||
         e == sys_error::kPathNotFound;
}

}  // namespace qbrk
