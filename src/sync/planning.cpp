#include "sync/planning.h"

#include <memory>
#include <new>
#include <unordered_set>
#include <vector>

#include "common/mbcs.h"
#include "sync/marks.h"

namespace qbrk {

namespace {

// What differs between the local and the server half of planning.
struct Side {
  bool local;
  uint32_t changed;     // file new or changed on this side
  uint32_t new_folder;  // folder new on this side
  uint32_t deleted;     // recorded entry gone from this side

  uint32_t Compare(const FileEntry& mine, const FileEntry* recorded) const {
    return local ? mine.CompareLocal(recorded) : mine.CompareServer(recorded);
  }
};

constexpr Side kLocalSide{true, MARK_UPLOAD, MARK_CREATE_SERVER, MARK_DELETED_LOCALLY};
constexpr Side kServerSide{false, MARK_DOWNLOAD, MARK_CREATE_LOCAL, MARK_DELETED_ON_SERVER};

FileEntry* AddPlanned(FolderNode& plan, const FileRecord& record, uint32_t marks) {
  FileEntry* entry = plan.AddFile(FileEntry::New(record));
  if (entry) entry->marks = marks;
  return entry;
}

// Keeps what the local disk holds of a planned name, for execution to check before it acts.
uint32_t KeepSight(SyncTable& plan, bool present, const FileEntry* local) {
  LocalSight sight;
  sight.present = present;
  if (present && local) {
    sight.last_write_time = local->record().local_time();
    sight.size = local->record().size();
  }
  return plan.AddSight(sight);
}

// Marks new and changed entries of one side, a source folder at a time in the order a scan
// completes them: a folder is entered before anything in it and finished after everything
// below it, so its child folders are planned before its files, as a walk of the whole tree
// would plan them. A folder that is finished is no longer needed for its files; when asked,
// they are freed there and then, so that a scan holds only the files of the folders it is in.
class ChangeMarker final : public ScanObserver {
 public:
  ChangeMarker(const Side& side, SyncTable& recorded, SyncTable& plan, bool free_finished_files)
      : side_(side), recorded_(recorded), plan_(plan), free_finished_files_(free_finished_files) {}

  ResultCode FolderEntered(FolderNode& source) override {
    try {
      if (frames_.empty()) {
        frames_.push_back({&source, recorded_.root(), plan_.root(), nullptr});
        return result::kSuccess;
      }
      const Frame& parent = frames_.back();
      FolderNode* recorded =
          parent.recorded ? parent.recorded->FindFolder(source.name()) : nullptr;
      FolderNode* plan = parent.plan->FindFolder(source.name());
      std::unique_ptr<FolderNode> made;
      if (!plan) {
        made.reset(new (std::nothrow) FolderNode(source.name()));
        if (!made) return result::kGeneralFailure;
        plan = made.get();
      }
      source.marks |= MARK_SEEN;
      if (recorded) {
        recorded->marks |= MARK_SEEN;
        plan->marks |= MARK_SEEN;
      } else {
        plan->marks |= side_.new_folder;
      }
      frames_.push_back({&source, recorded, plan, std::move(made)});
      return result::kSuccess;
    } catch (const std::bad_alloc&) {
      return result::kGeneralFailure;
    }
  }

  ResultCode FolderScanned(FolderNode& source) override {
    if (frames_.empty() || frames_.back().source != &source) return result::kGeneralFailure;
    try {
      Frame& frame = frames_.back();
      if (ResultCode r = MarkFiles(source, frame.recorded, *frame.plan)) return r;
      if (free_finished_files_) source.DestroyFiles();
      std::unique_ptr<FolderNode> made = std::move(frame.made);
      frames_.pop_back();
      // A folder in the plan is kept when it holds work or is itself new on this side.
      if (made && (!made->empty() || made->marks == side_.new_folder) &&
          !frames_.back().plan->AddFolder(made.release()))
        return result::kGeneralFailure;
      return result::kSuccess;
    } catch (const std::bad_alloc&) {
      return result::kGeneralFailure;
    }
  }

 private:
  struct Frame {
    FolderNode* source;
    FolderNode* recorded;  // null below a folder that is new on this side
    FolderNode* plan;
    std::unique_ptr<FolderNode> made;  // a plan folder not yet in the plan
  };

  ResultCode MarkFiles(FolderNode& source, FolderNode* recorded, FolderNode& plan) {
    for (FileEntry* file = source.FindFile(nullptr); file; file = FolderNode::NextFile(file)) {
      if (!file->record()) continue;
      FileEntry* recorded_file = recorded ? recorded->FindFile(file->name()) : nullptr;
      if (recorded_file && side_.Compare(*file, recorded_file) == 0) {
        file->marks |= MARK_SEEN;
        recorded_file->marks |= MARK_SEEN;
        continue;
      }
      file->marks |= side_.changed;
      if (recorded_file) recorded_file->marks |= MARK_SEEN;
      if (FileEntry* planned = plan.FindFile(file->name())) {
        planned->marks |= side_.changed;
        continue;
      }
      FileEntry* planned = AddPlanned(plan, file->record(), side_.changed);
      if (!planned) return result::kGeneralFailure;
      planned->sight = side_.local ? KeepSight(plan_, true, file)
                                   : KeepSight(plan_, recorded_file != nullptr, recorded_file);
    }
    return result::kSuccess;
  }

  const Side& side_;
  SyncTable& recorded_;
  SyncTable& plan_;
  const bool free_finished_files_;
  std::vector<Frame> frames_;
};

// Tells `observer` about a finished tree as a scan would have while making it.
ResultCode Replay(FolderNode& folder, ScanObserver& observer) {
  if (ResultCode r = observer.FolderEntered(folder)) return r;
  for (FolderNode* child = folder.FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child)) {
    if (ResultCode r = Replay(*child, observer)) return r;
  }
  return observer.FolderScanned(folder);
}

// Recorded entries that nothing on this side matched, once every change is marked; only the
// source's folders are looked at. `source` is null below a folder gone from this side.
class DeletionMarker {
 public:
  DeletionMarker(const Side& side, SyncTable& plan) : side_(side), plan_(plan) {}

  ResultCode Mark(FolderNode* source, FolderNode& recorded, FolderNode& plan) {
    for (FolderNode* child = recorded.FindFolder(nullptr); child;
         child = FolderNode::NextFolder(child)) {
      FolderNode* plan_child = plan.FindFolder(child->name());
      std::unique_ptr<FolderNode> made;
      if (!plan_child) {
        made.reset(new (std::nothrow) FolderNode(child->name()));
        if (!made) return result::kGeneralFailure;
        plan_child = made.get();
      }
      if (child->marks == 0 && !child->name().empty()) {
        // Gone from this side: it stays in the plan whatever it holds.
        child->marks |= side_.deleted;
        plan_child->marks |= side_.deleted;
        if (ResultCode r = Mark(nullptr, *child, *plan_child)) return r;
        if (made && !plan.AddFolder(made.release())) return result::kGeneralFailure;
        continue;
      }
      FolderNode* source_child = source ? source->FindFolder(child->name()) : nullptr;
      if (!source_child) continue;
      source_child->marks |= MARK_SEEN;
      child->marks |= MARK_SEEN;
      plan_child->marks |= MARK_SEEN;
      if (ResultCode r = Mark(source_child, *child, *plan_child)) return r;
      if (made && !made->empty() && !plan.AddFolder(made.release()))
        return result::kGeneralFailure;
    }
    for (FileEntry* file = recorded.FindFile(nullptr); file; file = FolderNode::NextFile(file)) {
      if (file->marks != 0) continue;
      if (!file->record()) return result::kGeneralFailure;
      if (FileEntry* planned = plan.FindFile(file->name())) {
        planned->marks |= side_.deleted;
        file->marks |= side_.deleted;
        continue;
      }
      FileEntry* planned = AddPlanned(plan, file->record(), side_.deleted);
      if (!planned) return result::kGeneralFailure;
      // Gone locally: nothing there. Gone from the server: the local file matched the record.
      planned->sight = side_.local ? KeepSight(plan_, false, nullptr)
                                   : KeepSight(plan_, true, file);
    }
    return result::kSuccess;
  }

 private:
  const Side& side_;
  SyncTable& plan_;
};

// Both tables' roots, made empty when missing. 0; 2 (local side) or 500 when the plan's root
// cannot be made; 500 when the record's cannot.
ResultCode EnsureRoots(const Side& side, SyncTable& recorded, SyncTable& plan) {
  if (!recorded.EnsureRoot()) return result::kGeneralFailure;
  if (!plan.EnsureRoot()) return side.local ? result::kNoMemory : result::kGeneralFailure;
  return result::kSuccess;
}

// One half of planning over a finished source tree.
ResultCode PlanSide(const Side& side, SyncTable* source, SyncTable* recorded, SyncTable* plan) {
  if (!source || !recorded || !plan) return result::kGeneralFailure;
  if (!source->EnsureRoot()) return result::kGeneralFailure;
  if (ResultCode r = EnsureRoots(side, *recorded, *plan)) return r;
  ChangeMarker changes(side, *recorded, *plan, false);
  if (ResultCode r = Replay(*source->root(), changes)) return r;
  try {
    return DeletionMarker(side, *plan).Mark(source->root(), *recorded->root(), *plan->root());
  } catch (const std::bad_alloc&) {
    return result::kGeneralFailure;
  }
}

// The same half, marking changes while `scan` fills the source table, which keeps only its
// folders afterwards.
template <typename Scan>
ResultCode ScanAndPlanSide(const Side& side, SyncTable* source, SyncTable* recorded,
                           SyncTable* plan, Scan scan) {
  if (!source || !recorded || !plan) return result::kGeneralFailure;
  if (ResultCode r = EnsureRoots(side, *recorded, *plan)) return r;
  ChangeMarker changes(side, *recorded, *plan, true);
  if (ResultCode r = scan(changes)) return r;
  if (!source->EnsureRoot()) return result::kGeneralFailure;
  try {
    return DeletionMarker(side, *plan).Mark(source->root(), *recorded->root(), *plan->root());
  } catch (const std::bad_alloc&) {
    return result::kGeneralFailure;
  }
}

// Takes every plan entry whose name folds to a name the server scan left out of `server`.
void DropLeftOut(const FolderNode& server, FolderNode& plan) {
  if (!server.left_out().empty()) {
    std::unordered_set<std::string> folded;
    for (const std::string& name : server.left_out()) folded.insert(FoldCase(name));
    auto is_left_out = [&](std::string_view name) { return folded.count(FoldCase(name)) > 0; };
    for (FileEntry* file = plan.FindFile(nullptr); file;) {
      FileEntry* next = FolderNode::NextFile(file);
      if (is_left_out(file->name())) plan.RemoveFile(file);
      file = next;
    }
    for (FolderNode* child = plan.FindFolder(nullptr); child;) {
      FolderNode* next = FolderNode::NextFolder(child);
      if (is_left_out(child->name())) plan.RemoveFolder(child);
      child = next;
    }
  }
  for (const FolderNode* child = server.FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child)) {
    if (FolderNode* plan_child = plan.FindFolder(child->name())) DropLeftOut(*child, *plan_child);
  }
}

// Takes out of the plan every name the server scan left out.
ResultCode DropAllLeftOut(SyncTable& server, SyncTable& plan) {
  try {
    DropLeftOut(*server.root(), *plan.root());
  } catch (const std::bad_alloc&) {
    return result::kGeneralFailure;
  }
  return result::kSuccess;
}

}  // namespace

ResultCode PlanLocalSide(SyncTable* local, SyncTable* recorded, SyncTable* plan) {
  return PlanSide(kLocalSide, local, recorded, plan);
}

ResultCode PlanServerSide(SyncTable* server, SyncTable* recorded, SyncTable* plan) {
  if (ResultCode r = PlanSide(kServerSide, server, recorded, plan)) return r;
  return DropAllLeftOut(*server, *plan);
}

ResultCode ScanAndPlanLocalSide(SyncTable* local, const std::string& folder_path,
                                SyncTable* recorded, SyncTable* plan) {
  return ScanAndPlanSide(kLocalSide, local, recorded, plan, [&](ScanObserver& changes) {
    return local->ScanLocalFolder(folder_path, "", &changes);
  });
}

ResultCode ScanAndPlanServerSide(SyncTable* server, SyncTable* recorded, SyncTable* plan) {
  if (ResultCode r = ScanAndPlanSide(kServerSide, server, recorded, plan,
                                     [&](ScanObserver& changes) {
                                       return server->ScanServerFolder("", "", &changes);
                                     }))
    return r;
  return DropAllLeftOut(*server, *plan);
}

int HasPendingWork(const SyncTable* plan) {
  return plan && plan->root() ? HasPendingWork(plan->root()) : 0;
}

int HasPendingWork(const FolderNode* folder) {
  for (const FolderNode* child = folder->FindFolder(nullptr); child;
       child = FolderNode::NextFolder(child)) {
    const uint32_t marks = child->marks & ~MARK_SEEN;
    if (marks == MARK_DELETED_LOCALLY || marks == MARK_DELETED_ON_SERVER ||
        marks == MARK_CREATE_LOCAL || marks == MARK_CREATE_SERVER || HasPendingWork(child))
      return 1;
  }
  for (const FileEntry* file = folder->FindFile(nullptr); file; file = FolderNode::NextFile(file)) {
    const uint32_t marks = file->marks;
    if (marks == kMarkConflict || marks == MARK_DELETED_LOCALLY ||
        marks == MARK_DELETED_ON_SERVER || marks == MARK_UPLOAD || marks == MARK_DOWNLOAD)
      return 1;
  }
  return 0;
}

}  // namespace qbrk
