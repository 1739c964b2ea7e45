// The scan of the mirror folder into a table: depth first, in the order the file system
// delivers the entries, with every name's ASCII letters lower-cased.
#include <new>

#include "diag/error_log.h"
#include "platform/clock.h"
#include "sync/name_rules.h"
#include "sync/sync_table.h"
#include "sync/table_format.h"

namespace qbrk {

namespace {

class LocalScanner {
 public:
  LocalScanner(SyncTable& table, ScanObserver* observer)
      : table_(table), files_(table.env().files), observer_(observer) {}

  // Scans `path` into a node named `name` and attaches it to `parent` (the table's root when
  // there is none). 0, 92 or 500.
  ResultCode Scan(const std::string& path, const std::string& name, FolderNode* parent,
                  uint32_t depth) {
    if (depth >= kMaxTreeDepth) return result::kGeneralFailure;
    std::unique_ptr<FolderNode> node(new (std::nothrow) FolderNode(name));
    if (!node) return result::kGeneralFailure;
    if (observer_) {
      if (ResultCode e = observer_->FolderEntered(*node)) return e;
    }

    ResultCode r = result::kSuccess;
    std::unique_ptr<FindHandle> find;
    FindData data;
    SysError error = files_.FindFirst(path + "\\*.*", &find, &data);
    if (error == sys_error::kFilenameTooLong) return result::kLocalNameTooLong;
    if (error != sys_error::kSuccess && error != sys_error::kNoMoreFiles &&
        error != sys_error::kFileNotFound)
      return result::kGeneralFailure;
    for (; error == sys_error::kSuccess; error = find->Next(&data)) {
      if (ResultCode e = Take(path, data, node.get(), depth)) return e;
    }
    find.reset();
    if (error == sys_error::kMoreData) {
      r = result::kLocalNameTooLong;
    } else if (error != sys_error::kNoMoreFiles && error != sys_error::kFileNotFound) {
      // An enumeration that breaks off must not pass for a complete folder: the files it
      // did not deliver would look deleted and be deleted on the server.
      return result::kGeneralFailure;
    }
    if (observer_ && r == result::kSuccess) {
      if (ResultCode e = observer_->FolderScanned(*node)) return e;
    }
    FolderNode* raw = node.release();
    if (parent) {
      if (!parent->AddFolder(raw)) return result::kGeneralFailure;
    } else {
      table_.ReplaceRoot(std::unique_ptr<FolderNode>(raw));
    }
    return r;
  }

 private:
  // One directory entry: skipped, scanned as a folder, or added as a file.
  ResultCode Take(const std::string& path, const FindData& data, FolderNode* node,
                  uint32_t depth) {
    if (data.name.empty() || data.name[0] == '.') return result::kSuccess;  // ".", "..", dot-names
    if (table_.IsExcludedSuffix(data.name)) return result::kSuccess;
    if (HasSubstitutedCharacter(data.name)) {
      // Not openable by this name: leave it out rather than stop every synchronization.
      WriteSkippedNameLine(files_, table_.env().clock, path + "\\" + data.name);
      return result::kSuccess;
    }
    LowerCaseLocalName(data.name, &lower_);
    if (data.attributes & file_attr::kDirectory) {
      const std::string lower = lower_;  // the scan below reuses lower_
      return Scan(path + "\\" + lower, lower, node, depth + 1);
    }
    FileRecord record = FileRecord::FromFindData(data, lower_);
    if (!record) return result::kGeneralFailure;
    if (!node->AddFile(FileEntry::New(record))) return result::kGeneralFailure;
    return result::kSuccess;
  }

  SyncTable& table_;
  FileSystem& files_;
  ScanObserver* observer_;
  std::string lower_;  // each name lower-cased, in storage kept from one name to the next
};

}  // namespace

ResultCode SyncTable::ScanLocalFolder(const std::string& folder_path,
                                      const std::string& root_name, ScanObserver* observer) {
  root_.reset();
  if (folder_path.empty()) return result::kGeneralFailure;
  try {
    return LocalScanner(*this, observer).Scan(folder_path, root_name, nullptr, 0);
  } catch (const std::bad_alloc&) {
    root_.reset();
    return result::kGeneralFailure;
  }
}

}  // namespace qbrk
