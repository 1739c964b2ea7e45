#include "protocol/transfer.h"

#include <cstdio>
#include <vector>

#include "common/mbcs.h"
#include "protocol/decimal.h"
#include "protocol/http_date.h"
#include "protocol/listing_parser.h"
#include "protocol/operation_guard.h"
#include "protocol/result_mapping.h"
#include "protocol/worker_messages.h"

namespace qbrk {

namespace {

constexpr uint32_t kBlock = 4096;

ResultCode TempFileFailure(SysError error) {
  return error == sys_error::kFilenameTooLong ? result::kLocalPathTooLong : result::kDownloadFailed;
}

ResultCode WriteFailure(SysError error) {
  return error == sys_error::kDiskFull ? result::kLocalDiskFull : result::kDownloadFailed;
}

// Why the staged file could not take the target's place.
ResultCode ReplaceFailure(SysError error) {
  switch (error) {
    case sys_error::kSharingViolation:
    case sys_error::kAccessDenied:
      return result::kLocalFileInUse;
    case sys_error::kFileNotFound:
      return result::kOldCopyNotDeleted;
    case sys_error::kDiskFull:
      return result::kLocalDiskFull;
    case sys_error::kPathNotFound:
    case sys_error::kFilenameTooLong:
      return result::kLocalPathTooLong;
    default:
      return result::kDownloadFailed;
  }
}

ResultCode MoveFailure(SysError error) {
  switch (error) {
    case sys_error::kDiskFull:
      return result::kLocalDiskFull;
    case sys_error::kPathNotFound:
    case sys_error::kFilenameTooLong:
      return result::kLocalPathTooLong;
    default:
      return result::kDownloadFailed;
  }
}

// Staging names beside the target start with a dot, which both scans skip, so that a file
// left behind by a crash is never taken for the user's.
constexpr char kStagingPrefix[] = ".qbk";
constexpr uint32_t kStagingAttempts = 64;

// A starting number for the staging name, taken from the (unique) temporary file's name.
uint32_t StagingSeed(const std::string& temp_path) {
  uint32_t seed = 0;
  for (unsigned char c : temp_path) seed = seed * 31 + c;
  return seed;
}

// Whether the file calls can name `path`. Wine's MoveFileA takes a target longer than every
// other call accepts (Windows refuses it with 206): a file moved there could be neither
// found, nor replaced, nor removed again.
bool Reachable(FileSystem& files, const std::string& path) {
  uint32_t attributes = 0;
  return files.GetAttributes(path, &attributes) != sys_error::kFilenameTooLong;
}

// Moves the temporary file into the target's folder under a free staging name, unless the
// target or that name is out of the file calls' reach.
ResultCode Stage(FileSystem& files, const std::string& temp_path, const std::string& local_path,
                 std::string* staged) {
  if (!Reachable(files, local_path)) return result::kLocalPathTooLong;
  const size_t slash = FindLastSingleByte(local_path, '\\');
  const std::string folder = slash == std::string::npos ? std::string() : local_path.substr(0, slash + 1);
  for (uint32_t n = 0; n < kStagingAttempts; ++n) {
    char name[32];
    std::snprintf(name, sizeof name, "%s%x.tmp", kStagingPrefix, (StagingSeed(temp_path) + n) & 0xFFFFF);
    *staged = folder + name;
    if (!Reachable(files, *staged)) return result::kLocalPathTooLong;
    const SysError e = files.Rename(temp_path, *staged);
    if (e == sys_error::kSuccess) return result::kSuccess;
    if (e != sys_error::kAlreadyExists && e != sys_error::kFileExists) return MoveFailure(e);
  }
  return result::kDownloadFailed;
}

// Reads the answer's headers into the listing item.
ResultCode ReadItem(ServerSession& session, const std::string& path, FindData* item) {
  std::string length, modified;
  item->name = std::string(LastSegment(path));
  item->attributes = file_attr::kNormal;
  if (!session.ReadResponseHeader("Content-Length", &length) ||
      !session.ReadResponseHeader("X-Last-Modified", &modified) ||
      !ParseHttpDate(modified, &item->last_write_time))
    return result::kDownloadFailed;
  item->size = LeadingDecimal(length);
  return result::kSuccess;
}

// Receives the body into `temp`. WinINet ends a body quietly when the server drops the
// connection in the middle of it, so a body shorter than its announced length counts as a
// broken connection: the local copy must not be replaced by a truncated file.
ResultCode ReceiveBody(ServerSession& session, File& temp) {
  std::string length;
  const bool announced = session.ReadResponseHeader("Content-Length", &length);
  const uint64_t expected = announced ? LeadingDecimal(length) : 0;
  uint64_t received = 0;
  std::vector<char> block(kBlock);
  for (;;) {
    uint32_t got = 0;
    if (ResultCode r = session.Read(block.data(), kBlock, &got, result::kDownloadFailed)) return r;
    if (got == 0)
      return announced && received < expected ? result::kConnectionBroken : result::kSuccess;
    received += got;
    if (SysError e = temp.Write(block.data(), got)) return WriteFailure(e);
    session.Notify(worker_message::kProgress, got);
    if (session.IsCancelled()) return result::kCancelled;
  }
}

}  // namespace

ResultCode InstallDownload(FileSystem& files, const std::string& temp_path,
                           const std::string& local_path, Placement placement, bool* occupied) {
  if (occupied) *occupied = false;
  std::string staged;
  if (ResultCode r = Stage(files, temp_path, local_path, &staged)) {
    files.RemoveFile(temp_path);
    return r;
  }
  ResultCode r = result::kSuccess;
  if (placement == Placement::kOnlyIfAbsent) {
    // A plain move refuses an existing target in the same step that would create it.
    const SysError e = files.Rename(staged, local_path);
    if (e == sys_error::kAlreadyExists || e == sys_error::kFileExists) {
      if (occupied) *occupied = true;
    } else if (e != sys_error::kSuccess) {
      r = MoveFailure(e);
    } else {
      return result::kSuccess;
    }
  } else {
    // A read-only file cannot be replaced; it gives up the attribute only for the swap.
    uint32_t attributes = 0;
    const bool existed = files.GetAttributes(local_path, &attributes) == sys_error::kSuccess;
    if (existed && (attributes & file_attr::kReadOnly))
      files.SetAttributes(local_path, attributes & ~file_attr::kReadOnly);
    const SysError e = files.RenameReplacing(staged, local_path);
    if (e == sys_error::kSuccess) return result::kSuccess;
    if (existed && (attributes & file_attr::kReadOnly)) files.SetAttributes(local_path, attributes);
    r = ReplaceFailure(e);
  }
  files.RemoveFile(staged);
  return r;
}

ResultCode Download(ServerSession& session, const std::string& path, const std::string& local_path,
                    FindData* item) {
  std::string temp_path;
  if (ResultCode r = DownloadToTemp(session, path, &temp_path, item)) return r;
  return InstallDownload(session.env().files, temp_path, local_path, Placement::kReplace);
}

ResultCode DownloadToTemp(ServerSession& session, const std::string& path, std::string* temp_path,
                          FindData* item) {
  FileSystem& files = session.env().files;
  std::string folder;
  if (SysError e = files.TempFolder(&folder)) return TempFileFailure(e);
  if (SysError e = files.MakeTempFile(folder, kTempFilePrefix, temp_path))
    return TempFileFailure(e);

  ResultCode r = GuardAllocation(session, result::kDownloadFailed, [&] {
    std::unique_ptr<File> temp;
    if (files.OpenFile(*temp_path, file_access::kWrite, file_share::kNone,
                       Disposition::kCreateAlways, &temp) != 0)
      return result::kDownloadFailed;
    ResultCode got = session.Exchange("GET", path, {}, nullptr, result::kDownloadNotSent);
    if (got == result::kSuccess) {
      got = OrOwn(session.MapStatus(), result::kDownloadFailed);
      if (got == result::kSuccess && item) got = ReadItem(session, path, item);
      if (got == result::kSuccess) got = ReceiveBody(session, *temp);
    }
    session.CloseRequest();
    return got;
  });
  if (r != result::kSuccess) files.RemoveFile(*temp_path);
  return r;
}

}  // namespace qbrk
