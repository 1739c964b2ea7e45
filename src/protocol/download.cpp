#include "protocol/transfer.h"

#include <vector>

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

ResultCode OldCopyFailure(SysError error) {
  switch (error) {
    case sys_error::kSharingViolation:
    case sys_error::kAccessDenied:
      return result::kLocalFileInUse;
    case sys_error::kFileNotFound:
      return result::kOldCopyNotDeleted;
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

// Puts the finished temporary file in the place of the local file.
ResultCode ReplaceLocalFile(FileSystem& files, const std::string& temp_path,
                            const std::string& local_path) {
  uint32_t attributes = 0;
  if (files.GetAttributes(local_path, &attributes) == 0) {
    files.SetAttributes(local_path, file_attr::kNormal);
    if (SysError e = files.RemoveFile(local_path)) return OldCopyFailure(e);
  }
  if (SysError e = files.Rename(temp_path, local_path)) return MoveFailure(e);
  return result::kSuccess;
}

}  // namespace

ResultCode Download(ServerSession& session, const std::string& path, const std::string& local_path,
                    FindData* item) {
  FileSystem& files = session.env().files;
  std::string folder, temp_path;
  if (SysError e = files.TempFolder(&folder)) return TempFileFailure(e);
  if (SysError e = files.MakeTempFile(folder, kTempFilePrefix, &temp_path))
    return TempFileFailure(e);

  ResultCode r = GuardAllocation(session, result::kDownloadFailed, [&] {
    std::unique_ptr<File> temp;
    if (files.OpenFile(temp_path, file_access::kWrite, file_share::kNone,
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
  if (r == result::kSuccess) r = ReplaceLocalFile(files, temp_path, local_path);
  if (r != result::kSuccess) files.RemoveFile(temp_path);
  return r;
}

}  // namespace qbrk
