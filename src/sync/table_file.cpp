// Reading and writing the local table file. A save never tears the file: the new table is
// written beside the old one, flushed, and put in its place in one step, so that a crash or
// a full disk during a save leaves the previous table whole.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "protocol/quota.h"
#include "protocol/server_session.h"
#include "sync/sync_table.h"
#include "sync/table_format.h"

namespace qbrk {

namespace {

// Written beside the table file and renamed over it.
constexpr char kNewSuffix[] = ".new";
constexpr uint32_t kWriteChunk = 1 << 20;

SysError WriteAll(File& file, const uint8_t* data, size_t size) {
  while (size > 0) {
    const uint32_t piece = static_cast<uint32_t>(std::min<size_t>(size, kWriteChunk));
    if (SysError e = file.Write(data, piece)) return e;
    data += piece;
    size -= piece;
  }
  return sys_error::kSuccess;
}

// Reads up to `size` bytes, continuing after short reads; the count read, or -1 on failure.
int64_t ReadUpTo(File& file, uint8_t* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    uint32_t got = 0;
    const uint32_t want = static_cast<uint32_t>(std::min<size_t>(size - done, kWriteChunk));
    if (file.Read(data + done, want, &got) != sys_error::kSuccess) return -1;
    if (got == 0) break;
    done += got;
  }
  return static_cast<int64_t>(done);
}

enum class Replaced { kDone, kNotCreated, kNotWritten };

// Writes header and body to a fresh file beside `path` and puts it in place of `path`.
Replaced ReplaceTableFile(FileSystem& files, const std::string& path, const uint8_t* header,
                      const std::vector<uint8_t>& body) {
  const std::string fresh = path + kNewSuffix;
  files.SetAttributes(fresh, file_attr::kNormal);  // a leftover of a crashed save
  {
    std::unique_ptr<File> file;
    if (files.OpenFile(fresh, file_access::kWrite, file_share::kRead, Disposition::kCreateAlways,
                       &file) != sys_error::kSuccess)
      return Replaced::kNotCreated;
    const bool written = WriteAll(*file, header, kTableHeaderSize) == sys_error::kSuccess &&
                         WriteAll(*file, body.data(), body.size()) == sys_error::kSuccess &&
                         file->Flush() == sys_error::kSuccess;
    file.reset();
    if (!written) {
      files.RemoveFile(fresh);
      return Replaced::kNotWritten;
    }
  }
  files.SetAttributes(fresh, kTableFileAttributes);
  // A read-only file cannot be replaced; the old one loses the attribute only for the swap.
  uint32_t old_attributes = 0;
  const bool had_old = files.GetAttributes(path, &old_attributes) == sys_error::kSuccess;
  if (had_old) files.SetAttributes(path, file_attr::kNormal);
  if (files.RenameReplacing(fresh, path) != sys_error::kSuccess) {
    if (had_old) files.SetAttributes(path, old_attributes);
    files.SetAttributes(fresh, file_attr::kNormal);
    files.RemoveFile(fresh);
    return Replaced::kNotWritten;
  }
  return Replaced::kDone;
}

// Opens the table file for reading and reads its header. 0, 151, 152 or 153.
ResultCode OpenTable(FileSystem& files, const std::string& path, uint32_t share,
                     std::unique_ptr<File>* file, uint8_t header[kTableHeaderSize]) {
  if (files.OpenFile(path, file_access::kRead, share, Disposition::kOpenExisting, file) !=
      sys_error::kSuccess)
    return result::kTableOpenFailed;
  std::memset(header, 0, kTableHeaderSize);
  const int64_t got = ReadUpTo(**file, header, kTableHeaderSize);
  if (got <= 0) return result::kTableReadFailed;
  if (!HasTableMagic(header)) return result::kTableUnrecognised;
  if (got < kTableHeaderSize) return result::kTableReadFailed;
  return result::kSuccess;
}

}  // namespace

int SyncTable::SaveTableFile(const std::string& path) { return Save(path, false); }

int SyncTable::SaveCheckpoint(const std::string& path) { return Save(path, true); }

int SyncTable::Save(const std::string& path, bool checkpoint) {
  if (path.empty()) return 0;
  FileSystem& files = env_.files;
  TableQuota quota;
  if (checkpoint) {
    ReadQuotaFromTableFile(files, path, &quota.quota, &quota.used, &quota.free);
  } else if (connection_) {
    QuotaFigures figures;
    if (QueryQuota(*connection_, connection_->disk_root(), &figures) == result::kSuccess)
      quota = {static_cast<uint64_t>(figures.quota), static_cast<uint64_t>(figures.used),
               static_cast<uint64_t>(figures.free)};
  }
  uint8_t header[kTableHeaderSize];
  BuildTableHeader(quota, header);
  std::vector<uint8_t> body;
  // Without a tree only the header is written, and the save reports failure.
  if (root_ && !SerializeTableBody(*root_, &body)) return 0;
  if (ReplaceTableFile(files, path, header, body) != Replaced::kDone) return 0;
  return root_ ? 1 : 0;
}

ResultCode SyncTable::LoadTableFile(const std::string& path) {
  if (path.empty()) return result::kGeneralFailure;
  FileSystem& files = env_.files;
  std::unique_ptr<File> file;
  uint8_t header[kTableHeaderSize];
  if (ResultCode r = OpenTable(files, path, file_share::kNone, &file, header)) return r;
  uint64_t size = 0;
  if (file->GetSize(&size) != sys_error::kSuccess || size <= kTableHeaderSize ||
      size - kTableHeaderSize > SIZE_MAX)
    return result::kTableReadFailed;
  const size_t body_size = static_cast<size_t>(size - kTableHeaderSize);
  std::unique_ptr<uint8_t[]> body(new (std::nothrow) uint8_t[body_size]);
  if (!body) return result::kTableReadFailed;
  if (ReadUpTo(*file, body.get(), body_size) != static_cast<int64_t>(body_size))
    return result::kTableReadFailed;
  file.reset();
  root_.reset();
  root_ = ParseTableBody(body.get(), body_size, TableVersion(header));
  return root_ ? 1 : result::kGeneralFailure;
}

ResultCode ReadQuotaFromTableFile(FileSystem& files, const std::string& path, uint64_t* quota,
                                  uint64_t* used, uint64_t* free) {
  if (!quota || !used || !free) return result::kMisuse;
  *quota = *used = *free = 0;
  std::unique_ptr<File> file;
  uint8_t header[kTableHeaderSize];
  const ResultCode r = OpenTable(files, path, file_share::kRead, &file, header);
  file.reset();
  if (r == result::kTableOpenFailed) return r;
  files.SetAttributes(path, kTableFileAttributes);
  if (r != result::kSuccess) return r;
  const TableQuota read = TableQuotaOf(header);
  *quota = read.quota;
  *used = read.used;
  *free = read.free;
  return result::kSuccess;
}

ResultCode WriteQuotaToTableFile(FileSystem& files, const std::string& path, uint32_t quota_low,
                                 uint32_t quota_high, uint32_t used_low, uint32_t used_high,
                                 uint32_t free_low, uint32_t free_high) {
  if (path.empty()) return result::kMisuse;
  const TableQuota quota{uint64_t{quota_high} << 32 | quota_low,
                         uint64_t{used_high} << 32 | used_low,
                         uint64_t{free_high} << 32 | free_low};
  uint8_t header[kTableHeaderSize];
  BuildTableHeader(quota, header);
  std::vector<uint8_t> body;
  uint32_t attributes = 0;
  if (files.GetAttributes(path, &attributes) == sys_error::kSuccess) {
    std::unique_ptr<File> file;
    uint64_t size = 0;
    if (files.OpenFile(path, file_access::kRead, file_share::kRead, Disposition::kOpenExisting,
                       &file) != sys_error::kSuccess ||
        file->GetSize(&size) != sys_error::kSuccess || size == 0 || size > SIZE_MAX)
      return result::kTableReadFailed;
    std::unique_ptr<uint8_t[]> whole(new (std::nothrow) uint8_t[static_cast<size_t>(size)]);
    if (!whole || ReadUpTo(*file, whole.get(), static_cast<size_t>(size)) <= 0)
      return result::kTableReadFailed;
    if (size < kTableHeaderSize || !HasTableMagic(whole.get()))
      return result::kTableUnrecognised;
    // Everything but the three figures is kept as it was, the body and the version too.
    std::memcpy(header, whole.get(), kTableHeaderSize);
    SetTableQuota(quota, header);
    try {
      body.assign(whole.get() + kTableHeaderSize, whole.get() + size);
    } catch (const std::bad_alloc&) {
      return result::kTableReadFailed;
    }
  }
  // A file that cannot be created is no error of this operation; a failed write is.
  return ReplaceTableFile(files, path, header, body) == Replaced::kNotWritten
             ? result::kTableWriteFailed
             : result::kSuccess;
}

}  // namespace qbrk
