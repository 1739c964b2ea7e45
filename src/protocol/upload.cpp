#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <vector>

#include "protocol/lock_rounds.h"
#include "protocol/locks.h"
#include "protocol/operation_guard.h"
#include "protocol/result_mapping.h"
#include "protocol/transfer.h"
#include "protocol/worker_messages.h"

namespace qbrk {

namespace {

constexpr uint32_t kBlock = 4096;

bool InUse(SysError error) {
  return error == sys_error::kSharingViolation || error == sys_error::kAccessDenied;
}

// Opens the file for reading; another program writing it is tolerated on a second try.
ResultCode OpenSource(FileSystem& files, const std::string& local_path,
                      std::unique_ptr<File>* file) {
  SysError e = files.OpenFile(local_path, file_access::kRead, file_share::kRead,
                              Disposition::kOpenExisting, file);
  if (e == 0) return result::kSuccess;
  if (!InUse(e)) return result::kUploadFailed;
  e = files.OpenFile(local_path, file_access::kRead, file_share::kRead | file_share::kWrite,
                     Disposition::kOpenExisting, file);
  if (e == 0) return result::kSuccess;
  return InUse(e) ? result::kLocalFileInUse : result::kUploadFailed;
}

// Sends `length` bytes of `file`, from its current position, as the open request's body.
ResultCode SendPiece(ServerSession& session, File& file, uint64_t length) {
  constexpr ResultCode kStep = result::kUploadNotSent;
  if (ResultCode r = session.BeginSend(length, kStep)) return r;
  std::vector<char> block(kBlock);
  for (uint64_t left = length; left > 0;) {
    uint32_t got = 0;
    const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(left, kBlock));
    if (file.Read(block.data(), want, &got) != 0 || got == 0) return kStep;
    if (ResultCode r = session.Write(block.data(), got, kStep)) return r;
    left -= got;
    session.Notify(worker_message::kProgress, got);
    if (session.IsCancelled()) return result::kCancelled;
  }
  if (ResultCode r = session.EndSend(kStep)) return r;
  return OrOwn(session.ReadStatus(), kStep);
}

// One pass over the whole file. `*met_lock` tells the caller that a 423 was met and this
// user's own lock released, so the upload should start again.
ResultCode UploadPass(ServerSession& session, File& file, uint64_t size, bool split,
                      const std::string& path, const std::string& token, bool* met_lock) {
  const uint64_t unit = session.upload_unit();
  const std::string if_header = "If: (<" + token + ">)\r\n";
  uint64_t start = 0;
  do {
    if (!session.OpenRequest("PUT", path)) return session.OpenFailure(result::kUploadNotSent);
    bool framed = size != 0 || session.AddHeader("Content-Length: 0", HeaderMode::kReplace);
    uint64_t piece = size;
    if (framed && split) {
      const uint64_t end = std::min(start + unit - 1, size - 1);
      char range[96];
      std::snprintf(range, sizeof range,
                    "Content-Range: bytes %" PRIu64 "-%" PRIu64 "/%" PRIu64 "\r\n", start, end,
                    size);
      framed = session.AddHeader(range, HeaderMode::kReplace);
      piece = end - start + 1;
    }
    if (framed && split) framed = session.AddHeader(if_header);
    if (!framed) return result::kUploadNotSent;
    if (ResultCode r = SendPiece(session, file, piece)) return r;
    const uint32_t status = session.last_status();
    session.CloseRequest();
    if (status == 423) {
      const ResultCode released = ReleaseOwnLock(session, path);
      if (released != result::kSuccess) return OrOwn(released, result::kUploadFailed);
      *met_lock = true;
      return result::kLockedByOther;
    }
    if (ResultCode r = MapHttpStatus(status)) return OrOwn(r, result::kUploadFailed);
    start += piece;
    if (split && session.IsCancelled()) return result::kCancelled;
  } while (split && start < size);
  return result::kSuccess;
}

}  // namespace

ResultCode Upload(ServerSession& session, const std::string& local_path, const std::string& path) {
  FileSystem& files = session.env().files;
  bool locked = false;
  std::string token;
  const ResultCode r = GuardAllocation(session, result::kUploadFailed, [&] {
    ResultCode sent = result::kSuccess;
    for (int round = 1;; ++round) {
      std::unique_ptr<File> file;
      uint64_t size = 0;
      sent = OpenSource(files, local_path, &file);
      if (sent == result::kSuccess && file->GetSize(&size) != 0) sent = result::kUploadFailed;
      if (sent != result::kSuccess) return sent;
      const uint64_t unit = session.upload_unit();
      const bool split = unit != 0 && size > unit;
      if (split) {
        sent = Lock(session, path, &token);
        if (sent != result::kSuccess) return sent;
        locked = true;
        // A run that dies before the unlock leaves this record for the next one to release.
        session.settings().WriteLockToken(path, token);
      }
      bool met_lock = false;
      sent = UploadPass(session, *file, size, split, path, token, &met_lock);
      session.CloseRequest();
      if (!met_lock || round >= kMaxLockRounds) return sent;
      if (session.IsCancelled()) return result::kCancelled;
      // Start again from the first byte; the released lock needs no unlock of its own.
    }
  });
  // Also after running out of memory: the lock is released as on any other failure.
  if (locked && Unlock(session, path, token) == result::kSuccess)
    session.settings().DeleteLockToken();
  return r;
}

}  // namespace qbrk
