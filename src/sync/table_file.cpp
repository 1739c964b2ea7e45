// Reading and writing the local table file. A save never tears the file: the new table is
// written beside the old one, flushed, and put in its place in one step, so that a crash or
// a full disk during a save leaves the previous table whole.
#include <algorithm>
#include <cstring>
#include <functional>
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

// Writes the body into a file as it comes.
class FileSink final : public TableBodySink {
 public:
  explicit FileSink(File& file) : file_(file) {}
  bool Append(const uint8_t* data, size_t size) override {
    return WriteAll(file_, data, size) == sys_error::kSuccess;
  }

 private:
  File& file_;
};

// Reads the body from a file through a window that moves forward with the parser, so that
// a large table is never in memory whole. A read that fails or comes up short is remembered:
// the load then reports the file as unreadable rather than damaged.
class FileSource final : public TableBodySource {
 public:
  // The body starts `body_start` bytes into the file.
  FileSource(File& file, uint64_t body_start)
      : file_(file), body_start_(body_start), window_start_(body_start) {}

  const uint8_t* Bytes(uint64_t offset, size_t size) override {
    offset += body_start_;
    if (offset < window_start_) return nullptr;  // the parser never goes back
    const uint64_t window_end = window_start_ + window_.size();
    if (offset + size <= window_end) return window_.data() + (offset - window_start_);
    // Keep what is still ahead, then read on to cover the request and a window beyond.
    if (offset < window_end) {
      window_.erase(window_.begin(), window_.begin() + static_cast<size_t>(offset - window_start_));
    } else {
      window_.clear();
      if (file_.Seek(static_cast<int64_t>(offset), SeekOrigin::kBegin, nullptr) !=
          sys_error::kSuccess) {
        failed_ = true;
        return nullptr;
      }
    }
    window_start_ = offset;
    const size_t kept = window_.size();
    const size_t wanted = std::max(size, kWindow);
    window_.resize(wanted);
    const int64_t got = ReadUpTo(file_, window_.data() + kept, wanted - kept);
    if (got < 0) {
      failed_ = true;
      window_.resize(kept);
      return nullptr;
    }
    window_.resize(kept + static_cast<size_t>(got));
    if (window_.size() < size) {
      failed_ = true;  // the file ended before the size it gave
      return nullptr;
    }
    return window_.data();
  }

  bool failed() const { return failed_; }

 private:
  static constexpr size_t kWindow = 256 * 1024;

  File& file_;
  const uint64_t body_start_;
  uint64_t window_start_;  // the file offset of window_'s first byte
  std::vector<uint8_t> window_;
  bool failed_ = false;
};

// Writes a header and a body (from `write_body`, or none) to a fresh file beside `path` and
// puts it in place of `path`.
Replaced ReplaceTableFile(FileSystem& files, const std::string& path, const uint8_t* header,
                          const std::function<bool(TableBodySink&)>& write_body) {
  const std::string fresh = path + kNewSuffix;
  files.SetAttributes(fresh, file_attr::kNormal);  // a leftover of a crashed save
  {
    std::unique_ptr<File> file;
    if (files.OpenFile(fresh, file_access::kWrite, file_share::kRead, Disposition::kCreateAlways,
                       &file) != sys_error::kSuccess)
      return Replaced::kNotCreated;
    FileSink sink(*file);
    const bool written = WriteAll(*file, header, kTableHeaderSize) == sys_error::kSuccess &&
                         (!write_body || write_body(sink)) &&
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
  // Without a tree only the header is written, and the save reports failure.
  std::function<bool(TableBodySink&)> body;
  if (root_) body = [this](TableBodySink& sink) { return WriteTableBody(*root_, sink); };
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
  root_.reset();
  FileSource source(*file, kTableHeaderSize);
  root_ = ParseTableBody(source, size - kTableHeaderSize, TableVersion(header));
  if (source.failed()) {
    root_.reset();
    return result::kTableReadFailed;
  }
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
  auto write_body = [&body](TableBodySink& sink) {
    return body.empty() || sink.Append(body.data(), body.size());
  };
  // A file that cannot be created is no error of this operation; a failed write is.
  return ReplaceTableFile(files, path, header, write_body) == Replaced::kNotWritten
             ? result::kTableWriteFailed
             : result::kSuccess;
}

}  // namespace qbrk
