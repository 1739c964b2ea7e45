#include "sync/execution.h"

#include <memory>
#include <new>

#include "platform/clock.h"
#include "protocol/file_ops.h"
#include "protocol/server_session.h"
#include "protocol/transfer.h"
#include "sync/local_removal.h"
#include "sync/marks.h"
#include "sync/name_rules.h"

namespace qbrk {

namespace {

constexpr uint32_t kEveryDoneBit = 0xFF00;  // bits 8 to 15 survive every pass mask
constexpr uint64_t kTicksPerSecond = 10000000ULL;

// The entry at `path` as a search reports it; false when there is none.
bool Stat(FileSystem& files, const std::string& path, FindData* found) {
  std::unique_ptr<FindHandle> find;
  return files.FindFirst(path, &find, found) == sys_error::kSuccess;
}

// Whether the disk still holds, at `path`, what the scan saw there.
bool MatchesSight(FileSystem& files, const std::string& path, const LocalSight& sight) {
  FindData now;
  const bool present = Stat(files, path, &now) && !(now.attributes & file_attr::kDirectory);
  if (!sight.present) return !present && !Stat(files, path, &now);
  return present && now.last_write_time == sight.last_write_time && now.size == sight.size;
}

class Executor {
 public:
  Executor(SyncContext& context, SyncTable& plan, SyncTable& recorded, uint32_t pass_mask)
      : context_(context),
        files_(context.env.files),
        plan_(plan),
        recorded_(recorded),
        pass_mask_(pass_mask) {}

  ResultCode Folder(const std::string& local_path, const std::string& server_path,
                    FolderNode& plan, FolderNode& recorded, uint32_t inherited) {
    if (context_.IsCancelled()) return result::kCancelled;
    for (FolderNode* child = plan.FindFolder(nullptr); child;
         child = FolderNode::NextFolder(child)) {
      if (ResultCode r = ChildFolder(local_path, server_path, *child, recorded, inherited))
        return r;
    }
    for (FileEntry* file = plan.FindFile(nullptr); file; file = FolderNode::NextFile(file)) {
      if (context_.IsCancelled()) return result::kCancelled;
      if (ResultCode r = File(local_path, server_path, *file, recorded, inherited)) return r;
    }
    return result::kSuccess;
  }

 private:
  uint32_t ActionOf(uint32_t marks) const { return marks & (pass_mask_ | kEveryDoneBit); }

  ResultCode ChildFolder(const std::string& local_path, const std::string& server_path,
                         FolderNode& child, FolderNode& recorded, uint32_t inherited) {
    const uint32_t action = ActionOf(child.marks);
    if (action == MARK_DONE) return result::kSuccess;
    // The recorded counterpart; a new, unattached one when the record has none.
    FolderNode* recorded_child = recorded.FindFolder(child.name());
    std::unique_ptr<FolderNode> loose;
    if (!recorded_child) {
      loose.reset(new (std::nothrow) FolderNode(child.name()));
      if (!loose) return result::kGeneralFailure;
      recorded_child = loose.get();
    }
    auto detach = [&] {
      if (!loose) loose = recorded.RemoveFolder(recorded_child);
    };
    auto attach = [&]() -> bool {
      if (!loose) return true;
      if (!recorded.AddFolder(loose.get())) {
        loose.release();  // AddFolder freed it
        return false;
      }
      loose.release();
      return true;
    };
    const std::string local = local_path + "\\" + child.name();
    const std::string server = server_path + child.name() + "/";
    uint32_t passed = action;

    switch (action) {
      case MARK_DELETED_LOCALLY:
        if (inherited != MARK_DELETED_LOCALLY) {
          if (ResultCode r = DeleteResource(*context_.session, server)) return r;
        }
        child.marks = MARK_DONE;
        detach();
        break;
      case MARK_DELETED_ON_SERVER: {
        // The content goes first, file by file, each checked against what the scan saw;
        // then the folder, unless something appeared or changed in it meanwhile.
        if (ResultCode r = Folder(local, server, child, *recorded_child, MARK_SEEN)) return r;
        bool kept = false;
        if (!RemoveLocalFolderRest(files_, plan_, local, &kept)) return result::kLocalFolderNotRemoved;
        if (!kept) {
          child.marks = MARK_DONE;
          detach();
          Checkpoint();
        }
        return result::kSuccess;
      }
      case MARK_CREATE_LOCAL:
      case MARK_CREATE_SERVER: {
        const ResultCode r = action == MARK_CREATE_LOCAL
                                 ? MakeLocalFolder(local)
                                 : MakeFolder(*context_.session, server);
        if (r != result::kSuccess) {
          detach();
          context_.error_name = child.name();
          return r;
        }
        if (!attach()) return result::kGeneralFailure;
        child.marks = MARK_DONE;
        Checkpoint();
        break;
      }
      case kMarkGoneBoth:
        child.marks = MARK_DONE;
        detach();
        break;
      default:
        // A folder in step on both sides enters the record in the transfer walk.
        if ((pass_mask_ & (MARK_UPLOAD | MARK_DOWNLOAD)) && !attach())
          return result::kGeneralFailure;
        break;
    }
    return Folder(local, server, child, *recorded_child, passed);
  }

  // Creates a local folder; a folder already there (made meanwhile) is fine.
  ResultCode MakeLocalFolder(const std::string& path) {
    const SysError e = files_.MakeDirectory(path);
    if (e == sys_error::kSuccess) return result::kSuccess;
    if (e == sys_error::kFilenameTooLong) return result::kLocalPathTooLong;
    if (e == sys_error::kAlreadyExists || e == sys_error::kFileExists) {
      uint32_t attributes = 0;
      if (files_.GetAttributes(path, &attributes) == sys_error::kSuccess &&
          (attributes & file_attr::kDirectory))
        return result::kSuccess;
      return result::kFileBlocksFolder;
    }
    return result::kLocalFolderNotCreated;
  }

  ResultCode File(const std::string& local_path, const std::string& server_path, FileEntry& file,
                  FolderNode& recorded, uint32_t inherited) {
    const uint32_t action = ActionOf(file.marks);
    if (action == MARK_DONE) return result::kSuccess;
    FileEntry* recorded_file = recorded.FindFile(file.name());
    const std::string name(file.name());
    const std::string local = local_path + "\\" + name;
    const std::string server = server_path + name;
    switch (action) {
      case kMarkGoneBoth:
        file.marks = MARK_DONE;
        recorded.RemoveFile(recorded_file);
        return result::kSuccess;
      case MARK_DELETED_ON_SERVER:
        if (inherited != MARK_DELETED_ON_SERVER) {
          if (!StillAsScanned(file, local)) return result::kSuccess;  // left undone
          if (ResultCode r = DeleteLocalFile(local)) {
            context_.error_name = name;
            return r;
          }
        }
        file.marks = MARK_DONE;
        recorded.RemoveFile(recorded_file);
        Checkpoint();
        return result::kSuccess;
      case MARK_DELETED_LOCALLY:
        if (inherited != MARK_DELETED_LOCALLY) {
          if (ResultCode r = DeleteResource(*context_.session, server)) {
            context_.error_name = name;
            return r;
          }
        }
        file.marks = MARK_DONE;
        recorded.RemoveFile(recorded_file);
        Checkpoint();
        return result::kSuccess;
      case MARK_UPLOAD:
        return UploadFile(local, server, file, recorded, recorded_file);
      case MARK_DOWNLOAD:
        return DownloadFile(local, server, file, recorded, recorded_file);
      default:
        return result::kSuccess;
    }
  }

  ResultCode DeleteLocalFile(const std::string& path) {
    files_.SetAttributes(path, file_attr::kNormal);
    const SysError e = files_.RemoveFile(path);
    if (e == sys_error::kSuccess || e == sys_error::kFileNotFound) return result::kSuccess;
    return e == sys_error::kSharingViolation || e == sys_error::kAccessDenied
               ? result::kLocalFileInUse
               : result::kLocalFileNotDeleted;
  }

  // True when the local file is what the scan saw (or nothing was kept to compare with).
  bool StillAsScanned(const FileEntry& file, const std::string& path) {
    const LocalSight* sight = plan_.sight(file.sight);
    return !sight || MatchesSight(files_, path, *sight);
  }

  ResultCode UploadFile(const std::string& local, const std::string& server, FileEntry& file,
                        FolderNode& recorded, FileEntry* recorded_file) {
    // What is about to be sent: the record must describe this, not what the file shows after
    // an edit made during its own upload (the next run then uploads that edit).
    FindData sent;
    if (!Stat(files_, local, &sent) || (sent.attributes & file_attr::kDirectory))
      return result::kSuccess;  // gone meanwhile: left undone, the next run sees it
    ResultCode r = Upload(*context_.session, local, server);
    if (r != result::kSuccess) {
      context_.error_name = std::string(file.name());
      return r;
    }
    uint64_t server_time = 0;
    if (SetLastModified(*context_.session, sent.last_write_time, server) == result::kSuccess) {
      server_time = sent.last_write_time - sent.last_write_time % kTicksPerSecond;
    } else {
      FindData item;
      r = FileStatus(*context_.session, server, &item);
      if (r != result::kSuccess) {
        context_.error_name = std::string(file.name());
        return r;
      }
      server_time = item.last_write_time;
    }
    file.marks = MARK_DONE;
    if (!recorded_file) {
      FindData named = sent;
      named.name = std::string(file.name());
      recorded_file = recorded.AddFile(new (std::nothrow) FileEntry(FileRecord::FromFindData(named)));
      if (!recorded_file) return result::kGeneralFailure;
    }
    FileRecord& record = recorded_file->record();
    if (!record) {
      context_.error_name = std::string(file.name());
      return result::kUploadFailed;
    }
    record.set_attributes(file_attr::kNormal);
    record.set_local_time(sent.last_write_time);
    record.set_server_time(server_time);
    record.set_size(sent.size);
    Checkpoint();
    return result::kSuccess;
  }

  ResultCode DownloadFile(const std::string& local, const std::string& server, FileEntry& file,
                          FolderNode& recorded, FileEntry* recorded_file) {
    const std::string name(file.name());
    std::string temp;
    FindData item;
    ResultCode r = DownloadToTemp(*context_.session, server, &temp, &item);
    if (r != result::kSuccess) {
      context_.error_name = name;
      return r;
    }
    // The local file must still be what the scan saw: an edit made meanwhile is kept.
    const LocalSight* sight = plan_.sight(file.sight);
    if (sight && !MatchesSight(files_, local, *sight)) {
      files_.RemoveFile(temp);
      return result::kSuccess;  // left undone
    }
    bool occupied = false;
    r = InstallDownload(files_, temp, local,
                        sight && !sight->present ? Placement::kOnlyIfAbsent : Placement::kReplace,
                        &occupied);
    if (r != result::kSuccess) {
      context_.error_name = name;
      return r;
    }
    if (occupied) return result::kSuccess;  // a file appeared meanwhile: left undone
    file.marks = MARK_DONE;
    FindData found;
    if (!Stat(files_, local, &found)) {
      context_.error_name = name;
      return result::kDownloadFailed;
    }
    {
      std::unique_ptr<qbrk::File> handle;
      if (files_.OpenFile(local, file_access::kWrite, file_share::kNone,
                          Disposition::kOpenExisting, &handle) == sys_error::kSuccess)
        handle->SetTimes(nullptr, nullptr, &item.last_write_time);
    }
    // The time the file system stored, which may be coarser than the server's.
    if (!Stat(files_, local, &found)) {
      context_.error_name = name;
      return result::kDownloadFailed;
    }
    if (!recorded_file) {
      FindData named = item;
      named.name = name;
      recorded_file = recorded.AddFile(new (std::nothrow) FileEntry(FileRecord::FromListingItem(named)));
      if (!recorded_file) return result::kGeneralFailure;
    }
    FileRecord& record = recorded_file->record();
    if (!record) {
      context_.error_name = name;
      return result::kDownloadFailed;
    }
    record.set_attributes(found.attributes);
    record.set_local_time(found.last_write_time);
    record.set_server_time(item.last_write_time);
    record.set_size(found.size);
    Checkpoint();
    return result::kSuccess;
  }

  // Writes the record when the last write is long enough ago.
  void Checkpoint() {
    if (context_.table_path.empty()) return;
    const uint32_t now = context_.env.clock.TickCount();
    if (now - context_.checkpoint_tick < kCheckpointMilliseconds) return;
    recorded_.SaveCheckpoint(context_.table_path);
    context_.checkpoint_tick = context_.env.clock.TickCount();
  }

  SyncContext& context_;
  FileSystem& files_;
  SyncTable& plan_;
  SyncTable& recorded_;
  uint32_t pass_mask_;
};

}  // namespace

ResultCode ExecutePlan(SyncContext* context, const std::string& local_root,
                       const std::string& server_root, SyncTable* plan, SyncTable* recorded,
                       uint32_t pass_mask) {
  if (!context || !plan || !recorded || !plan->root() || !recorded->root() || !context->session)
    return result::kGeneralFailure;
  if (context->IsCancelled()) return result::kCancelled;
  if (!context->checkpoint_started) {
    context->checkpoint_started = true;
    context->checkpoint_tick = context->env.clock.TickCount();
  }
  try {
    return Executor(*context, *plan, *recorded, pass_mask)
        .Folder(local_root, server_root, *plan->root(), *recorded->root(), MARK_SEEN);
  } catch (const std::bad_alloc&) {
    return result::kGeneralFailure;
  }
}

}  // namespace qbrk
