// The scan of the user's disk into a table, through the folder listings (one PROPFIND per
// folder; the session keeps each listing only until its folder is in the tree). The listing
// is untrusted input: a member whose name cannot be one local file name is left out, logged
// with its server path, and remembered in its folder so that planning acts on nothing of
// that name.
#include <algorithm>
#include <map>
#include <unordered_set>
#include <new>
#include <vector>

#include "common/mbcs.h"
#include "diag/error_log.h"
#include "protocol/listing.h"
#include "protocol/server_session.h"
#include "sync/name_rules.h"
#include "sync/sync_table.h"
#include "sync/table_format.h"

namespace qbrk {

namespace {

class ServerScanner {
 public:
  ServerScanner(SyncTable& table, ServerSession& session, ScanObserver* observer)
      : table_(table), session_(session), observer_(observer), root_(session.disk_root()) {}

  // Lists `path` (relative, "" or ending in "/") into a node named `name` attached at once to
  // `parent` (the table's root when there is none).
  ResultCode Scan(const std::string& path, const std::string& name, FolderNode* parent,
                  uint32_t depth) {
    if (depth >= kMaxTreeDepth) return result::kGeneralFailure;
    FolderNode* node = new (std::nothrow) FolderNode(name);
    if (!node) return result::kNoMemory;
    if (parent) {
      if (!parent->AddFolder(node)) return result::kNoMemory;
    } else {
      table_.ReplaceRoot(std::unique_ptr<FolderNode>(node));
    }
    if (observer_) {
      if (ResultCode r = observer_->FolderEntered(*node)) return r;
    }
    const Listing* listing = nullptr;
    if (ResultCode r = ListFolder(session_, root_ + path, &listing)) return r;
    if (!listing) return observer_ ? observer_->FolderScanned(*node) : result::kSuccess;

    for (const FindData* item : Admitted(path, *listing, node)) {
      // Checked again here: a member admitted earlier in this loop may carry the same name.
      if (node->FindFile(std::string_view(item->name)) ||
          node->FindFolder(std::string_view(item->name)))
        continue;
      if (item->attributes & file_attr::kDirectory) {
        if (ResultCode r = Scan(path + item->name + "/", item->name, node, depth + 1)) return r;
        continue;
      }
      FileRecord record = FileRecord::FromListingItem(*item);
      if (!record || !node->AddFile(FileEntry::New(record))) return result::kNoMemory;
    }
    // The folder is in the tree and a scan lists each folder once: the session's copy of its
    // listing would only hold as much memory again as the tree until the job ends.
    session_.listings().erase(root_ + path);
    return observer_ ? observer_->FolderScanned(*node) : result::kSuccess;
  }

 private:
  // The members that take part, in listing order. Dot-names and excluded extensions are
  // skipped as on the local side; names that cannot be local names, and every name of a
  // group that only case tells apart, are left out and logged; a name listed twice counts
  // once. Only names with double-byte capitals can fold onto another name (the listing
  // already drops every member with an ASCII capital), so only those cost a lookup table.
  std::vector<const FindData*> Admitted(const std::string& path, const Listing& listing,
                                        FolderNode* node) {
    std::vector<const FindData*> valid;
    valid.reserve(listing.size());
    std::map<std::string, std::vector<std::string>> capital_groups;  // folded -> names
    std::string folded;  // each name folded, in storage kept from one name to the next
    for (const FindData& item : listing) {
      if (!item.name.empty() && item.name[0] == '.') continue;
      if (table_.IsExcludedSuffix(item.name)) continue;
      if (CheckLocalName(item.name) != NameProblem::kNone) {
        LeaveOut(path, item.name, node);
        continue;
      }
      valid.push_back(&item);
      folded.assign(item.name);
      FoldCaseInPlace(&folded);
      if (folded == item.name) continue;
      auto& group = capital_groups[folded];
      if (std::find(group.begin(), group.end(), item.name) == group.end())
        group.push_back(item.name);
    }
    if (capital_groups.empty()) return valid;
    std::unordered_set<std::string_view> names;
    for (const FindData* item : valid) names.insert(item->name);
    std::vector<const FindData*> admitted;
    admitted.reserve(valid.size());
    for (const FindData* item : valid) {
      folded.assign(item->name);
      FoldCaseInPlace(&folded);
      auto group = capital_groups.find(folded);
      if (group != capital_groups.end() &&
          group->second.size() + (names.count(folded) ? 1 : 0) > 1) {
        LeaveOut(path, item->name, node);
        continue;
      }
      admitted.push_back(item);
    }
    return admitted;
  }

  void LeaveOut(const std::string& path, const std::string& name, FolderNode* node) {
    WriteSkippedNameLine(session_.env().files, session_.env().clock, root_ + path + name);
    node->AddLeftOut(name);
  }

  SyncTable& table_;
  ServerSession& session_;
  ScanObserver* observer_;
  std::string root_;
};

}  // namespace

ResultCode SyncTable::ScanServerFolder(const char* folder_path, const char* root_name,
                                       ScanObserver* observer) {
  if (!folder_path || !root_name) return result::kMisuse;
  root_.reset();
  if (!connection_) return result::kGeneralFailure;
  try {
    return ServerScanner(*this, *connection_, observer).Scan(folder_path, root_name, nullptr, 0);
  } catch (const std::bad_alloc&) {
    return result::kNoMemory;
  }
}

}  // namespace qbrk
