#include "sync/planning.h"

#include <new>
#include <unordered_set>

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

class Planner {
 public:
  Planner(const Side& side, SyncTable& plan) : side_(side), plan_(plan) {}

  // New and changed entries of `source` (a folder of the local or server tree).
  ResultCode MarkChanges(FolderNode& source, FolderNode* recorded, FolderNode& plan) {
    for (FolderNode* child = source.FindFolder(nullptr); child;
         child = FolderNode::NextFolder(child)) {
      FolderNode* recorded_child = recorded ? recorded->FindFolder(child->name()) : nullptr;
      FolderNode* plan_child = plan.FindFolder(child->name());
      std::unique_ptr<FolderNode> made;
      if (!plan_child) {
        made.reset(new (std::nothrow) FolderNode(child->name()));
        if (!made) return result::kGeneralFailure;
        plan_child = made.get();
      }
      child->marks |= MARK_SEEN;
      if (recorded_child) {
        recorded_child->marks |= MARK_SEEN;
        plan_child->marks |= MARK_SEEN;
      } else {
        plan_child->marks |= side_.new_folder;
      }
      if (ResultCode r = MarkChanges(*child, recorded_child, *plan_child)) return r;
      // A folder in the plan is kept when it holds work or is itself new on this side.
      if (made && (!made->empty() || made->marks == side_.new_folder) &&
          !plan.AddFolder(made.release()))
        return result::kGeneralFailure;
    }
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
      FileEntry* planned = Add(plan, file->record(), side_.changed);
      if (!planned) return result::kGeneralFailure;
      // What the local disk holds of this name, for execution to check before it acts.
      planned->sight = side_.local ? Sight(true, *file) : Sight(recorded_file != nullptr,
                                                                recorded_file);
    }
    return result::kSuccess;
  }

  // Recorded entries that nothing on this side matched. `source` is null below a folder
  // that is gone from this side.
  ResultCode MarkDeletions(FolderNode* source, FolderNode& recorded, FolderNode& plan) {
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
        if (ResultCode r = MarkDeletions(nullptr, *child, *plan_child)) return r;
        if (made && !plan.AddFolder(made.release())) return result::kGeneralFailure;
        continue;
      }
      FolderNode* source_child = source ? source->FindFolder(child->name()) : nullptr;
      if (!source_child) continue;
      source_child->marks |= MARK_SEEN;
      child->marks |= MARK_SEEN;
      plan_child->marks |= MARK_SEEN;
      if (ResultCode r = MarkDeletions(source_child, *child, *plan_child)) return r;
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
      FileEntry* planned = Add(plan, file->record(), side_.deleted);
      if (!planned) return result::kGeneralFailure;
      // Gone locally: nothing there. Gone from the server: the local file matched the record.
      planned->sight = side_.local ? Sight(false, nullptr) : Sight(true, file);
    }
    return result::kSuccess;
  }

 private:
  static FileEntry* Add(FolderNode& plan, const FileRecord& record, uint32_t marks) {
    FileEntry* entry = plan.AddFile(FileEntry::New(record));
    if (entry) entry->marks = marks;
    return entry;
  }

  uint32_t Sight(bool present, const FileEntry* local) {
    LocalSight sight;
    sight.present = present;
    if (present && local) {
      sight.last_write_time = local->record().local_time();
      sight.size = local->record().size();
    }
    return plan_.AddSight(sight);
  }
  uint32_t Sight(bool present, const FileEntry& local) { return Sight(present, &local); }

  const Side& side_;
  SyncTable& plan_;
};

ResultCode PlanSide(const Side& side, SyncTable* source, SyncTable* recorded, SyncTable* plan) {
  if (!source || !recorded || !plan) return result::kGeneralFailure;
  try {
    if (!source->EnsureRoot() || !recorded->EnsureRoot()) return result::kGeneralFailure;
    if (!plan->EnsureRoot()) return side.local ? result::kNoMemory : result::kGeneralFailure;
    Planner planner(side, *plan);
    if (ResultCode r = planner.MarkChanges(*source->root(), recorded->root(), *plan->root()))
      return r;
    return planner.MarkDeletions(source->root(), *recorded->root(), *plan->root());
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

}  // namespace

ResultCode PlanLocalSide(SyncTable* local, SyncTable* recorded, SyncTable* plan) {
  return PlanSide(kLocalSide, local, recorded, plan);
}

ResultCode PlanServerSide(SyncTable* server, SyncTable* recorded, SyncTable* plan) {
  if (ResultCode r = PlanSide(kServerSide, server, recorded, plan)) return r;
  try {
    DropLeftOut(*server->root(), *plan->root());
  } catch (const std::bad_alloc&) {
    return result::kGeneralFailure;
  }
  return result::kSuccess;
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
