// One side's tree of folders and files: the mirror folder as scanned, the user's disk as
// listed, or the state recorded at the last synchronization. A job makes each table it
// needs; a table belongs to the worker thread of that job and is never shared.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/result_code.h"
#include "platform/env.h"
#include "sync/folder_node.h"

namespace qbrk {

class ServerSession;

// Told about each folder of a scan as it goes: when the folder's node is made, before
// anything in it is read, and when everything in it and below it is in the tree. A code
// other than 0 stops the scan with that code.
class ScanObserver {
 public:
  virtual ~ScanObserver() = default;
  virtual ResultCode FolderEntered(FolderNode& folder) = 0;
  virtual ResultCode FolderScanned(FolderNode& folder) = 0;
};

// What the local scan saw of a name that a plan entry acts on: whether a file was there, and
// its last-write time and size. Execution compares it with the disk before it replaces or
// deletes a local file, so that an edit made while the run works is never overwritten.
struct LocalSight {
  bool present = false;
  uint64_t last_write_time = 0;
  uint64_t size = 0;
};

class SyncTable {
 public:
  // `connection` serves the server scan and the quota figures written with the table file.
  explicit SyncTable(Env& env, ServerSession* connection = nullptr);
  ~SyncTable();
  SyncTable(const SyncTable&) = delete;
  SyncTable& operator=(const SyncTable&) = delete;

  Env& env() { return env_; }
  ServerSession* connection() const { return connection_; }
  void set_connection(ServerSession* connection) { connection_ = connection; }

  FolderNode* root() const { return root_.get(); }
  // Destroys the current tree and takes `root` (which may be null) in its place.
  void ReplaceRoot(std::unique_ptr<FolderNode> root);
  // The root, made empty when there is none; null when memory ran out.
  FolderNode* EnsureRoot();

  // The exclusion list: "Suffix" as read at construction (at most 63 bytes), lower-cased.
  const std::string& suffixes() const { return suffixes_; }
  // True when the text after the name's last dot, in double quotes, occurs in the list
  // (ASCII case ignored). A name without a dot is never excluded.
  bool IsExcludedSuffix(std::string_view name) const;

  // Scans the local folder `folder_path` (no trailing backslash) into a new root named
  // `root_name`. 0, 92 or 500, or the observer's code.
  ResultCode ScanLocalFolder(const std::string& folder_path, const std::string& root_name,
                             ScanObserver* observer = nullptr);
  // Lists the server folder `folder_path` (relative to the disk root, "" for the top) and
  // everything below it into a new root named `root_name`, through the connection.
  // 0, 2, 3 (an argument missing), 500, the listing's code, or the observer's.
  ResultCode ScanServerFolder(const char* folder_path, const char* root_name,
                              ScanObserver* observer = nullptr);

  // Writes the tree to the table file at `path`, replacing the old file in one step;
  // 1 when the whole file was written, else 0 (the old file is then as it was).
  int SaveTableFile(const std::string& path);
  // The same, for a save while execution runs: the quota figures are carried over from the
  // file being replaced instead of asking the server.
  int SaveCheckpoint(const std::string& path);
  // Reads the tree from the table file: 1 when loaded; else 500 (no path or a body that
  // cannot be parsed), 151 (cannot open), 152 (cannot read) or 153 (not a table file).
  ResultCode LoadTableFile(const std::string& path);

  // Plan tables keep what the local scan saw of the names they act on (see LocalSight).
  uint32_t AddSight(const LocalSight& sight);
  const LocalSight* sight(uint32_t index) const;

 private:
  int Save(const std::string& path, bool checkpoint);

  Env& env_;
  ServerSession* connection_;
  std::unique_ptr<FolderNode> root_;
  std::string suffixes_;
  mutable std::string needle_;  // IsExcludedSuffix's storage (a table has one thread)
  std::vector<LocalSight> sights_;
};

// The quota figures cached in the table file's header. 0; 3 when an output is missing; 151
// when the file cannot be opened (the outputs are then 0); 152 when the header cannot be
// read; 153 when it is not a table file.
ResultCode ReadQuotaFromTableFile(FileSystem& files, const std::string& path, uint64_t* quota,
                                  uint64_t* used, uint64_t* free);
// Replaces the quota figures of the table file, or writes a header-only file carrying them
// when there is none. 0 (also when the file could not be created); 3 without a path; 152 when
// the existing file cannot be read; 153 when it is not a table file; 154 when the write fails.
ResultCode WriteQuotaToTableFile(FileSystem& files, const std::string& path, uint32_t quota_low,
                                 uint32_t quota_high, uint32_t used_low, uint32_t used_high,
                                 uint32_t free_low, uint32_t free_high);

}  // namespace qbrk
