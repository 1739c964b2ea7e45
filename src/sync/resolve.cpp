// Settling the plan: merging contradictory marks, asking the user what the rules leave
// open, and counting the work.
#include <map>
#include <new>
#include <set>
#include <unordered_set>
#include <vector>

#include "common/mbcs.h"
#include "diag/error_log.h"
#include "platform/clock.h"
#include "protocol/server_session.h"
#include "sync/choice_prompt.h"
#include "sync/marks.h"
#include "sync/planning.h"

namespace qbrk {

namespace {

ResultCode Merge(FolderNode& folder, uint32_t* below) {
  for (FolderNode* child = folder.FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child)) {
    uint32_t fresh = 0;
    if (ResultCode r = Merge(*child, &fresh)) return r;
    const uint32_t marks = child->marks & ~MARK_SEEN;
    // A folder new on one side counts as work below its parent even when it is empty, so
    // that a parent deleted on the other side is created again rather than removed with it.
    if (marks == MARK_CREATE_LOCAL || marks == MARK_CREATE_SERVER) *below |= marks;
    if (fresh == 0) continue;
    // Something below is to be transferred: the folder is created again, not deleted.
    if (marks == MARK_DELETED_LOCALLY) {
      child->marks = MARK_CREATE_LOCAL;
      *below |= fresh | MARK_CREATE_LOCAL;
    } else if (marks == MARK_DELETED_ON_SERVER) {
      child->marks = MARK_CREATE_SERVER;
      *below |= fresh | MARK_CREATE_SERVER;
    }
  }
  for (FileEntry* file = folder.FindFile(nullptr); file; file = FolderNode::NextFile(file)) {
    const uint32_t before = file->marks;
    // A change on one side wins over a deletion on the other.
    if ((before & MARK_DOWNLOAD) && (before & MARK_DELETED_LOCALLY)) file->marks = MARK_DOWNLOAD;
    if ((before & MARK_UPLOAD) && (before & MARK_DELETED_ON_SERVER)) file->marks = MARK_UPLOAD;
    if (before & (MARK_DOWNLOAD | MARK_UPLOAD)) *below |= before;
  }
  return result::kSuccess;
}

// The file was replaced by a folder of its name on the side it is gone from.
bool IsReplacedFile(uint32_t file_marks, uint32_t folder_marks) {
  const uint32_t folder = folder_marks & ~MARK_SEEN;
  return (file_marks == MARK_DELETED_LOCALLY && folder == MARK_CREATE_SERVER) ||
         (file_marks == MARK_DELETED_ON_SERVER && folder == MARK_CREATE_LOCAL);
}

// The folder was replaced by a file of its name on the side it is gone from.
bool IsReplacedFolder(uint32_t folder_marks, uint32_t file_marks) {
  const uint32_t folder = folder_marks & ~MARK_SEEN;
  return (folder == MARK_DELETED_LOCALLY && file_marks == MARK_UPLOAD) ||
         (folder == MARK_DELETED_ON_SERVER && file_marks == MARK_DOWNLOAD);
}

// The names of a folder's entries that only case tells apart from another entry's name:
// one local file or folder would stand for both. Only names with a double-byte capital can
// fold onto another (plan names carry no ASCII capital), so the rest cost nothing.
std::set<std::string> CaseTwins(const FolderNode& folder) {
  std::map<std::string, std::set<std::string>> groups;  // folded -> names
  std::vector<std::string> names;
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f))
    names.emplace_back(f->name());
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c))
    names.push_back(c->name());
  for (const std::string& name : names) {
    std::string folded = FoldCase(name);
    if (folded != name) groups[std::move(folded)].insert(name);
  }
  std::set<std::string> twins;
  if (groups.empty()) return twins;
  for (const std::string& name : names) {
    auto group = groups.find(FoldCase(name));
    if (group == groups.end()) continue;
    group->second.insert(name);
  }
  for (const auto& [folded, group] : groups)
    if (group.size() > 1) twins.insert(group.begin(), group.end());
  return twins;
}

void LeaveOut(SyncTable& plan, FolderNode& folder, const std::string& path) {
  for (const std::string& name : CaseTwins(folder)) {
    WriteSkippedNameLine(plan.env().files, plan.env().clock, path + name);
    folder.RemoveFile(folder.FindFile(std::string_view(name)));
    folder.RemoveFolder(folder.FindFolder(std::string_view(name)));
  }
  if (folder.file_count() > 0 && folder.folder_count() > 0) {
    for (FolderNode* child = folder.FindFolder(nullptr); child;) {
      FolderNode* next = FolderNode::NextFolder(child);
      FileEntry* file = folder.FindFile(child->name());
      if (file && !IsReplacedFile(file->marks, child->marks) &&
          !IsReplacedFolder(child->marks, file->marks)) {
        WriteSkippedNameLine(plan.env().files, plan.env().clock, path + child->name());
        folder.RemoveFile(file);
        folder.RemoveFolder(child);
      }
      child = next;
    }
  }
  for (FolderNode* child = folder.FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child))
    LeaveOut(plan, *child, path + child->name() + "/");
}

enum class Choice { kCancel, kFirst, kSecond, kIgnored };

class Resolver {
 public:
  Resolver(SyncContext& context, SyncStatistics& statistics)
      : context_(context), stats_(statistics) {}

  ResultCode Folder(FolderNode& folder, uint32_t inherited) {
    SettleTypeClashes(folder);
    for (FolderNode* child = folder.FindFolder(nullptr); child;
         child = FolderNode::NextFolder(child)) {
      uint32_t passed = MARK_SEEN;
      const bool replaced = replaced_folders_.count(child) > 0;
      switch (child->marks & ~MARK_SEEN) {
        case MARK_DELETED_LOCALLY:
          switch (DeletedLocally(child->name(), inherited == MARK_DELETED_LOCALLY || replaced)) {
            case Choice::kCancel: return result::kCancelled;
            case Choice::kFirst:  // delete it on the server too
              ++stats_.serverFolderDeletes;
              passed = MARK_DELETED_LOCALLY;
              break;
            case Choice::kSecond:  // download it again
              child->marks = MARK_CREATE_LOCAL;
              ++stats_.localFolderCreates;
              passed = MARK_CREATE_LOCAL;
              break;
            case Choice::kIgnored: break;
          }
          break;
        case MARK_DELETED_ON_SERVER:
          switch (DeletedOnServer(child->name(), inherited == MARK_DELETED_ON_SERVER || replaced)) {
            case Choice::kCancel: return result::kCancelled;
            case Choice::kFirst:  // delete it locally too
              ++stats_.localFolderDeletes;
              passed = MARK_DELETED_ON_SERVER;
              break;
            case Choice::kSecond:  // upload it again
              child->marks = MARK_CREATE_SERVER;
              ++stats_.serverFolderCreates;
              passed = MARK_CREATE_SERVER;
              break;
            case Choice::kIgnored: break;
          }
          break;
        case MARK_CREATE_LOCAL:
          ++stats_.localFolderCreates;
          passed = MARK_CREATE_LOCAL;
          break;
        case MARK_CREATE_SERVER:
          ++stats_.serverFolderCreates;
          passed = MARK_CREATE_SERVER;
          break;
        default:  // seen on both sides, or new on both (96)
          break;
      }
      if (ResultCode r = Folder(*child, passed)) return r;
    }
    for (FileEntry* file = folder.FindFile(nullptr); file; file = FolderNode::NextFile(file)) {
      if (ResultCode r = File(*file, inherited)) return r;
    }
    return result::kSuccess;
  }

 private:
  // A name that is a file on one side and a folder on the other (what is left of such pairs
  // after LeaveOutTypeClashes): one side replaced the recorded entry by the other kind, so
  // the replacement wins and the old entry, the version last synchronized, is deleted
  // without a question.
  void SettleTypeClashes(FolderNode& folder) {
    if (folder.file_count() == 0 || folder.folder_count() == 0) return;
    for (FolderNode* child = folder.FindFolder(nullptr); child;
         child = FolderNode::NextFolder(child)) {
      FileEntry* file = folder.FindFile(child->name());
      if (!file) continue;
      if (IsReplacedFile(file->marks, child->marks)) replaced_files_.insert(file);
      if (IsReplacedFolder(child->marks, file->marks)) replaced_folders_.insert(child);
    }
  }

  ResultCode File(FileEntry& file, uint32_t inherited) {
    if (replaced_files_.count(&file)) {
      if (file.marks == MARK_DELETED_LOCALLY) {
        ++stats_.serverFileDeletes;
      } else {
        ++stats_.localFileDeletes;
      }
      return result::kSuccess;
    }
    // The whole content of a folder being deleted goes with it.
    if (inherited == MARK_DELETED_ON_SERVER) {
      file.marks = MARK_DELETED_ON_SERVER;
      ++stats_.localFileDeletes;
      return result::kSuccess;
    }
    if (inherited == MARK_DELETED_LOCALLY) {
      file.marks = MARK_DELETED_LOCALLY;
      ++stats_.serverFileDeletes;
      return result::kSuccess;
    }
    const std::string name(file.name());
    switch (file.marks) {
      case kMarkConflict:
        switch (Conflict(name)) {
          case Choice::kCancel: return result::kCancelled;
          case Choice::kFirst: Upload(file); break;
          case Choice::kSecond: Download(file); break;
          case Choice::kIgnored: break;
        }
        break;
      case MARK_DELETED_LOCALLY:
        switch (DeletedLocally(name, false)) {
          case Choice::kCancel: return result::kCancelled;
          case Choice::kFirst: ++stats_.serverFileDeletes; break;
          case Choice::kSecond: Download(file); break;
          case Choice::kIgnored: break;
        }
        break;
      case MARK_DELETED_ON_SERVER:
        switch (DeletedOnServer(name, false)) {
          case Choice::kCancel: return result::kCancelled;
          case Choice::kFirst: ++stats_.localFileDeletes; break;
          case Choice::kSecond: Upload(file); break;
          case Choice::kIgnored: break;
        }
        break;
      case MARK_UPLOAD: Upload(file); break;
      case MARK_DOWNLOAD: Download(file); break;
      default: break;
    }
    return result::kSuccess;
  }

  void Upload(FileEntry& file) {
    file.marks = MARK_UPLOAD;
    ++stats_.uploads;
    stats_.uploadBytes += file.record().size();
  }
  void Download(FileEntry& file) {
    file.marks = MARK_DOWNLOAD;
    ++stats_.downloads;
    stats_.downloadBytes += file.record().size();
  }

  // First: delete on the server too. Second: download again.
  Choice DeletedLocally(const std::string& name, bool inherited_delete) {
    if (stats_.deleteAllDeletedLocally || inherited_delete) return Choice::kFirst;
    if (stats_.downloadAllDeletedLocally) return Choice::kSecond;
    switch (Ask(ChoiceQuestion::kDeletedLocally, name)) {
      case answer::kCancel: return Choice::kCancel;
      case answer::kDeleteOnServerAll: stats_.deleteAllDeletedLocally = 1; [[fallthrough]];
      case answer::kDeleteOnServer: return Choice::kFirst;
      case answer::kDownloadAgainAll: stats_.downloadAllDeletedLocally = 1; [[fallthrough]];
      case answer::kDownloadAgain: return Choice::kSecond;
      default: return Choice::kIgnored;
    }
  }

  // First: delete locally too. Second: upload again.
  Choice DeletedOnServer(const std::string& name, bool inherited_delete) {
    if (stats_.deleteAllDeletedOnServer || inherited_delete) return Choice::kFirst;
    if (stats_.uploadAllDeletedOnServer) return Choice::kSecond;
    switch (Ask(ChoiceQuestion::kDeletedOnServer, name)) {
      case answer::kCancel: return Choice::kCancel;
      case answer::kDeleteLocallyAll: stats_.deleteAllDeletedOnServer = 1; [[fallthrough]];
      case answer::kDeleteLocally: return Choice::kFirst;
      case answer::kUploadAgainAll: stats_.uploadAllDeletedOnServer = 1; [[fallthrough]];
      case answer::kUploadAgain: return Choice::kSecond;
      default: return Choice::kIgnored;
    }
  }

  // First: upload. Second: download.
  Choice Conflict(const std::string& name) {
    if (stats_.uploadAllConflicts) return Choice::kFirst;
    if (stats_.downloadAllConflicts) return Choice::kSecond;
    switch (Ask(ChoiceQuestion::kConflict, name)) {
      case answer::kCancel: return Choice::kCancel;
      case answer::kUploadAll: stats_.uploadAllConflicts = 1; [[fallthrough]];
      case answer::kUpload: return Choice::kFirst;
      case answer::kDownloadAll: stats_.downloadAllConflicts = 1; [[fallthrough]];
      case answer::kDownload: return Choice::kSecond;
      default: return Choice::kIgnored;
    }
  }

  uint32_t Ask(ChoiceQuestion question, const std::string& name) {
    // A job whose dialog has gone asks nobody: that is a stop.
    if (context_.IsCancelled()) return answer::kCancel;
    uint32_t reply = answer::kCancel;
    if (context_.link) {
      context_.link->PostAndWait(static_cast<uint32_t>(question),
                                 reinterpret_cast<uintptr_t>(name.c_str()),
                                 reinterpret_cast<intptr_t>(&reply));
      return reply;
    }
    return context_.prompt ? context_.prompt->Ask(question, name) : answer::kCancel;
  }

  SyncContext& context_;
  SyncStatistics& stats_;
  std::unordered_set<const FileEntry*> replaced_files_;
  std::unordered_set<const FolderNode*> replaced_folders_;
};

}  // namespace

ResultCode MergeMarks(SyncTable* plan) {
  if (!plan || !plan->root()) return result::kMisuse;
  uint32_t accumulator = 0;
  return Merge(*plan->root(), &accumulator);
}

ResultCode LeaveOutTypeClashes(SyncTable* plan, const std::string& server_root) {
  if (!plan || !plan->root()) return result::kMisuse;
  try {
    LeaveOut(*plan, *plan->root(), server_root);
  } catch (const std::bad_alloc&) {
    return result::kGeneralFailure;
  }
  return result::kSuccess;
}

ResultCode ResolveChoices(SyncContext* context, SyncTable* plan, SyncStatistics* statistics) {
  if (!context || !plan || !statistics) return result::kGeneralFailure;
  *statistics = SyncStatistics{};
  if (!plan->root()) return result::kGeneralFailure;
  try {
    return Resolver(*context, *statistics).Folder(*plan->root(), MARK_SEEN);
  } catch (const std::bad_alloc&) {
    return result::kGeneralFailure;
  }
}

}  // namespace qbrk
