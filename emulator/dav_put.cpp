// PUT: whole files, and files sent in pieces under a lock (see upload_staging.h).
//
// The body goes to a temporary file as it arrives and replaces the resource only when it
// is complete, so a client that dies halfway leaves the old file untouched.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <mutex>

#include "core/content_range.h"
#include "core/disk_path.h"
#include "core/http_date.h"
#include "dav_methods.h"

namespace qbrk::emulator {

namespace {

class PutExchange : public Exchange {
 public:
  PutExchange(std::shared_ptr<DavRequest> request, std::optional<ContentRange> range,
              std::string token)
      : request_(std::move(request)), range_(range), token_(std::move(token)) {}
  ~PutExchange() override;

  // Prepares the file the body goes to; needs the state's mutex. After a refusal the
  // exchange holds nothing and can be dropped.
  std::optional<Refusal> Open();
  bool Consume(const char* data, size_t size) override;
  Response Finish() override;

 private:
  bool continuation() const { return range_ && range_->first > 0; }
  // Undoes what this piece wrote; needs the state's mutex.
  void Abandon();
  Response Install(const std::string& file, uint64_t size);
  Response FinishWhole();
  Response FinishPiece();

  std::shared_ptr<DavRequest> request_;
  std::optional<ContentRange> range_;
  std::string token_;  // the lock a piece is sent under
  UniqueFd fd_;
  std::string temp_path_;  // a fresh file: the whole body, or the first piece
  uint64_t received_ = 0;
  int write_error_ = 0;
  bool too_long_ = false;
  bool done_ = false;
};

PutExchange::~PutExchange() {
  if (done_) return;
  std::lock_guard<std::mutex> lock(request_->state.mu);
  Abandon();
}

std::optional<Refusal> PutExchange::Open() {
  ServiceState& state = request_->state;
  if (!continuation()) {
    fd_ = CreateTempFile(state.temp_dir, &temp_path_);
    if (fd_.valid()) return std::nullopt;
    done_ = true;
    return Refusal{500, "cannot create a temporary file"};
  }
  StagedUpload* upload = state.staging.Find(token_, request_->account.mail, request_->rel);
  if (upload == nullptr || upload->busy || upload->received != range_->first ||
      upload->total != range_->total) {
    done_ = true;
    return Refusal{409, "this piece does not continue an upload in progress"};
  }
  fd_.Reset(::open(upload->file.c_str(), O_WRONLY | O_CLOEXEC));
  if (!fd_.valid()) {
    done_ = true;
    return Refusal{500, "cannot open the staging file"};
  }
  upload->busy = true;
  return std::nullopt;
}

void PutExchange::Abandon() {
  done_ = true;
  fd_.Reset();
  if (!temp_path_.empty()) {
    ::unlink(temp_path_.c_str());
    temp_path_.clear();
  }
  if (!continuation()) return;
  StagedUpload* upload =
      request_->state.staging.Find(token_, request_->account.mail, request_->rel);
  if (upload != nullptr && upload->busy && upload->received == range_->first) {
    if (::truncate(upload->file.c_str(), static_cast<off_t>(range_->first)) != 0) {
      request_->state.staging.Forget(upload, true);
      return;
    }
    upload->busy = false;
  }
}

bool PutExchange::Consume(const char* data, size_t size) {
  if (write_error_ != 0 || too_long_) return true;
  if (range_ && received_ + size > range_->length()) {
    too_long_ = true;
    return true;
  }
  const off_t at = static_cast<off_t>((continuation() ? range_->first : 0) + received_);
  size_t written = 0;
  while (written < size) {
    const ssize_t n =
        ::pwrite(fd_.get(), data + written, size - written, at + static_cast<off_t>(written));
    if (n < 0) {
      if (errno == EINTR) continue;
      write_error_ = errno;
      return true;
    }
    written += static_cast<size_t>(n);
  }
  received_ += size;
  return true;
}

Response PutExchange::Finish() {
  std::lock_guard<std::mutex> lock(request_->state.mu);
  request_->state.ExpireLocks();
  if (write_error_ != 0) {
    const int err = write_error_;
    Abandon();
    if (err == ENOSPC || err == EDQUOT) return RefusalResponse({507, "the data folder is full"});
    return RefusalResponse({500, std::string("writing failed: ") + std::strerror(err)});
  }
  if (too_long_ || (range_ && received_ != range_->length())) {
    Abandon();
    return RefusalResponse({400, "the body does not match Content-Range"});
  }
  return range_ ? FinishPiece() : FinishWhole();
}

// Puts a complete file in place of the resource.
Response PutExchange::Install(const std::string& file, uint64_t size) {
  DavRequest& request = *request_;
  Account& account = request.account;
  const Node old = request.Stat(request.rel);
  if (old.is_folder()) return RefusalResponse({405, "a folder cannot be replaced by PUT"});
  if (!request.Stat(ParentOf(request.rel)).is_folder()) {
    return RefusalResponse({409, "the parent folder is gone"});
  }
  if (!account.Fits(old.size, size)) return RefusalResponse({507, "quota exceeded"});
  if (int err = account.disk.Install(file, request.rel); err != 0) {
    return RefusalResponse({500, std::string("installing failed: ") + std::strerror(err)});
  }
  account.used = account.used - std::min(account.used, old.size) + size;
  request.state.locks.Materialize(account.mail, request.rel);
  const Node now = request.Stat(request.rel);
  Response r;
  r.status = old.exists() ? 204 : 201;
  r.headers.Add("ETag", now.ETag());
  r.headers.Add("X-Last-Modified", FormatHttpDate(now.modified));
  return r;
}

Response PutExchange::FinishWhole() {
  if (!request_->Permits(request_->rel, {.membership = !request_->Stat(request_->rel).exists()})) {
    Abandon();
    return RefusalResponse({423, "the resource was locked meanwhile"});
  }
  fd_.Reset();
  Response r = Install(temp_path_, received_);
  if (r.status >= 300) {
    Abandon();
  } else {
    temp_path_.clear();
    done_ = true;
  }
  return r;
}

Response PutExchange::FinishPiece() {
  ServiceState& state = request_->state;
  const Lock* lock = state.locks.Find(token_);
  if (lock == nullptr) {
    Abandon();
    return RefusalResponse({412, "the lock of this upload is gone"});
  }
  fd_.Reset();
  StagedUpload* upload;
  if (continuation()) {
    upload = state.staging.Find(token_, request_->account.mail, request_->rel);
    if (upload == nullptr) {
      Abandon();
      return RefusalResponse({412, "the upload was given up meanwhile"});
    }
    upload->received += received_;
    upload->busy = false;
  } else {
    upload = &state.staging.Start({token_, request_->account.mail, request_->rel, range_->total,
                                   received_, temp_path_, false});
    temp_path_.clear();
  }
  done_ = true;
  if (upload->received < upload->total) {
    Response r;
    r.status = 204;
    return r;
  }
  const std::string file = upload->file;
  Response r = Install(file, upload->total);
  state.staging.Forget(upload, r.status >= 300);
  return r;
}

}  // namespace

std::unique_ptr<Exchange> BeginPut(std::shared_ptr<DavRequest> request) {
  std::lock_guard<std::mutex> lock(request->state.mu);
  request->state.ExpireLocks();
  DavRequest& r = *request;
  const Node node = r.Stat(r.rel);
  if (r.rel.empty() || r.trailing_slash || node.is_folder()) {
    return Refuse({405, "PUT cannot write a folder"});
  }
  if (!r.Stat(ParentOf(r.rel)).is_folder()) {
    return Refuse({409, "the parent folder does not exist"});
  }
  if (!node.exists() && !IsCreatableName(NameOf(r.rel))) {
    return Refuse({400, "control characters in a name"});
  }
  if (auto refusal = r.CheckIf()) return Refuse(*refusal);
  if (!r.Permits(r.rel, {.membership = !node.exists()})) {
    return Refuse({423, "the resource is locked"});
  }
  auto declared = ParsePutDeclaration(r.head.headers.Get("Content-Length"),
                                      r.head.headers.Get("Content-Range"));
  if (!declared.ok()) return Refuse(declared.refusal());
  std::string token;
  if (declared.value().range) {
    const Lock* held = r.state.locks.PresentedCovering(r.account.mail, r.rel, r.tokens);
    if (held == nullptr) return Refuse({412, "a file sent in pieces must be locked first"});
    token = held->token;
  }
  const std::optional<uint64_t> size = declared.value().FileSize();
  if (size && !r.account.Fits(node.size, *size)) return Refuse({507, "quota exceeded"});
  auto exchange =
      std::make_unique<PutExchange>(std::move(request), declared.value().range, std::move(token));
  if (auto refusal = exchange->Open()) return Refuse(*refusal);
  return exchange;
}

}  // namespace qbrk::emulator
