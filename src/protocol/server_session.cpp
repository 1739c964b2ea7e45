#include "protocol/server_session.h"

#include <vector>

#include "diag/error_log.h"
#include "diag/trace_log.h"
#include "platform/file_system.h"
#include "protocol/base64.h"
#include "protocol/decimal.h"
#include "protocol/operation_guard.h"
#include "protocol/publishing_answers.h"
#include "protocol/response_header.h"
#include "protocol/result_mapping.h"
#include "protocol/service.h"
#include "protocol/worker_messages.h"

namespace qbrk {

namespace {

constexpr uint32_t kPlainFlags = http_open_flags::kReload | http_open_flags::kNoCacheWrite;
constexpr uint32_t kSecureFlags = kPlainFlags | http_open_flags::kSecure |
                                  http_open_flags::kIgnoreCertCnInvalid |
                                  http_open_flags::kIgnoreCertDateInvalid;
constexpr uint32_t kCertificateDialogFlags = error_dialog_flags::kFilterForErrors |
                                             error_dialog_flags::kGenerateData |
                                             error_dialog_flags::kChangeOptions;
// The user accepts a certificate and the very same error comes back: after this many
// prompts the send fails as any other would, rather than asking for ever.
constexpr int kMaxCertificatePrompts = 3;
constexpr uint32_t kSpoolBlock = 4096;
constexpr uint32_t kTextBlock = 4095;

std::string BasicLine(const char* header, const std::string& user, const std::string& password) {
  return std::string(header) + ": Basic " + Base64Encode(user + ":" + password) + "\r\n";
}

}  // namespace

std::string EscapeRequestPath(std::string_view path) {
  std::string once;
  for (char c : path)
    once += c == '%' ? std::string("%25") : std::string(1, c);
  std::string twice;
  for (char c : once)
    twice += c == '#' ? std::string("%23") : std::string(1, c);
  return twice;
}

ServerSession::ServerSession(Env& env, HttpTransport& http, DialogLink* link,
                             SessionOptions options)
    : env_(env), http_(http), link_(link), options_(options), settings_(env.registry) {}

ServerSession::~ServerSession() {
  CloseSession();
}

bool ServerSession::IsCancelled() {
  return link_ != nullptr && !link_->IsAttached();
}

void ServerSession::Notify(uint32_t message, uintptr_t wparam) {
  if (link_ != nullptr && !IsCancelled()) link_->PostAndWait(message, wparam, 0);
}

ResultCode ServerSession::OpenSession(const std::string& host, uint16_t port,
                                      const std::string& user, const std::string& password) {
  Notify(worker_message::kStatus, status_index::kConnecting);
  CloseSession();
  const ResultCode r = GuardAllocation(*this, result::kCannotConnect, [&] {
    const uint32_t timeout = settings_.Timeout();
    if (http_.OpenSession(kUserAgent, &session_) != 0 ||
        session_->SetTimeouts(timeout, timeout) != 0 ||
        session_->Connect(host, port, &connection_) != 0)
      return result::kCannotConnect;
    authorization_ = BasicLine("Authorization", user, password);
    return result::kSuccess;
  });
  if (r != result::kSuccess) CloseSession();
  return r;
}

void ServerSession::CloseSession() {
  request_.reset();
  connection_.reset();
  session_.reset();
}

void ServerSession::SetProxyCredentials(const std::string& user, const std::string& password) {
  proxy_authorization_ = BasicLine("Proxy-Authorization", user, password);
}

bool ServerSession::OpenRequest(std::string_view method, std::string_view path) {
  CloseRequest();
  open_error_ = 0;
  if (!connection_) return false;
  const uint32_t flags = options_.secure ? kSecureFlags : kPlainFlags;
  open_error_ = connection_->OpenRequest(method, EscapeRequestPath(path), flags, &request_);
  if (open_error_ != 0) {
    request_.reset();
    return false;
  }
  std::vector<std::string_view> common;
  if (!proxy_authorization_.empty()) common.push_back(proxy_authorization_);
  common.insert(common.end(), {"Accept-Charset: Shift_JIS\r\n", "Cache-Control: no-store\r\n",
                               "Pragma: no-cache\r\n", "Connection: close\r\n"});
  common.push_back(authorization_);
  for (std::string_view header : common) {
    if (!AddHeader(header)) {
      CloseRequest();
      return false;
    }
  }
  return true;
}

ResultCode ServerSession::OpenFailure(ResultCode own) {
  return open_error_ ? StepFailure(open_error_, own) : own;
}

bool ServerSession::AddHeader(std::string_view header, HeaderMode mode) {
  return request_ && request_->AddHeaders(header, mode) == 0;
}

void ServerSession::CloseRequest() {
  request_.reset();
}

ResultCode ServerSession::MapNetworkError(SysError error) {
  if (LoggingLevel() != 0 && !IsCancelled())
    WriteLogLine(env_.files, env_.clock, error, LogKind::kException);
  return MapNetworkErrorNumber(error);
}

ResultCode ServerSession::StepFailure(SysError error, ResultCode own) {
  return OrOwn(MapNetworkError(error), own);
}

ResultCode ServerSession::SendStep(ResultCode own, bool with_body, uint64_t total_length) {
  if (!request_) return own;
  for (int prompts = 0;; ++prompts) {
    const SysError error = with_body ? request_->BeginSend(total_length) : request_->Send({});
    if (error == 0) return result::kSuccess;
    if (error == net_error::kInvalidCa && link_ != nullptr && prompts < kMaxCertificatePrompts) {
      if (request_->ShowErrorDialog(options_.owner_window, error, kCertificateDialogFlags) == 0)
        continue;
      return result::kCancelled;
    }
    return StepFailure(error, own);
  }
}

ResultCode ServerSession::Send(ResultCode own) {
  return SendStep(own, false, 0);
}

ResultCode ServerSession::BeginSend(uint64_t total_length, ResultCode own) {
  return SendStep(own, true, total_length);
}

ResultCode ServerSession::Write(const void* data, uint32_t size, ResultCode own) {
  if (!request_) return own;
  const SysError error = request_->Write(data, size);
  return error == 0 ? result::kSuccess : StepFailure(error, own);
}

ResultCode ServerSession::EndSend(ResultCode own) {
  if (!request_) return own;
  const SysError error = request_->EndSend();
  return error == 0 ? result::kSuccess : StepFailure(error, own);
}

ResultCode ServerSession::SendBody(std::string_view body, ResultCode own) {
  if (ResultCode r = BeginSend(body.size(), own)) return r;
  if (!body.empty()) {
    if (ResultCode r = Write(body.data(), static_cast<uint32_t>(body.size()), own)) return r;
  }
  return EndSend(own);
}

ResultCode ServerSession::ReadStatus() {
  if (!request_) return result::kMisuse;
  uint32_t status = 0;
  if (request_->QueryStatus(&status) != 0) return result::kGeneralFailure;
  last_status_ = status;
  if (LoggingLevel() != 0 && !IsCancelled()) Trace();
  return result::kSuccess;
}

void ServerSession::Trace() {
  std::string request_headers, response_headers;
  if (request_->QueryRawHeaders(HeaderBlock::kRequest, &request_headers) != 0)
    request_headers.clear();
  if (request_->QueryRawHeaders(HeaderBlock::kResponse, &response_headers) != 0)
    response_headers.clear();
  WriteTraceExchange(env_.files, env_.clock, request_headers, response_headers);
}

ResultCode ServerSession::MapStatus() const {
  return MapHttpStatus(last_status_);
}

bool ServerSession::ReadResponseHeader(std::string_view name, std::string* value) {
  std::string raw;
  if (!request_ || request_->QueryRawHeaders(HeaderBlock::kResponse, &raw) != 0) return false;
  return FindResponseHeader(raw, name, value);
}

ResultCode ServerSession::Read(void* buffer, uint32_t size, uint32_t* read, ResultCode own) {
  *read = 0;
  if (!request_) return own;
  const SysError error = request_->Read(buffer, size, read);
  return error == 0 ? result::kSuccess : StepFailure(error, own);
}

ResultCode ServerSession::Exchange(std::string_view method, std::string_view path,
                                   std::initializer_list<ExtraHeader> headers,
                                   const std::string_view* body, ResultCode own) {
  if (!OpenRequest(method, path)) return OpenFailure(own);
  for (const ExtraHeader& header : headers) {
    if (!AddHeader(header.text, header.mode)) {
      CloseRequest();
      return own;
    }
  }
  ResultCode r = body ? SendBody(*body, own) : Send(own);
  if (r == result::kSuccess) r = OrOwn(ReadStatus(), own);
  if (r != result::kSuccess) CloseRequest();
  return r;
}

ResultCode ServerSession::SpoolBody(const std::string& path, ResultCode own) {
  std::unique_ptr<File> spool;
  if (env_.files.OpenFile(path, file_access::kWrite, file_share::kNone, Disposition::kCreateAlways,
                          &spool) != 0)
    return own;
  std::vector<char> block(kSpoolBlock);
  for (uint64_t total = 0;;) {
    uint32_t got = 0;
    if (ResultCode r = Read(block.data(), kSpoolBlock, &got, own)) return r;
    if (got == 0) return result::kSuccess;
    total += got;
    if (total > kMaxXmlAnswerBytes) return own;
    if (spool->Write(block.data(), got) != 0) return own;
    if (IsCancelled()) return result::kCancelled;
  }
}

namespace {

// Deletes a temporary file on every way out of its scope, a thrown one included.
class TempFileRemover {
 public:
  TempFileRemover(FileSystem& files, std::string path) : files_(files), path_(std::move(path)) {}
  ~TempFileRemover() { files_.RemoveFile(path_); }
  TempFileRemover(const TempFileRemover&) = delete;
  TempFileRemover& operator=(const TempFileRemover&) = delete;

 private:
  FileSystem& files_;
  std::string path_;
};

// The whole content of a file, or false; false too when it holds more than `limit` bytes.
bool ReadWholeFile(FileSystem& files, const std::string& path, uint64_t limit, std::string* text) {
  std::unique_ptr<File> file;
  uint64_t size = 0;
  if (files.OpenFile(path, file_access::kRead, file_share::kRead, Disposition::kOpenExisting,
                     &file) != 0 ||
      file->GetSize(&size) != 0 || size > limit || size > text->max_size())
    return false;
  text->resize(static_cast<size_t>(size));
  for (size_t done = 0; done < text->size();) {
    uint32_t got = 0;
    if (file->Read(text->data() + done, static_cast<uint32_t>(text->size() - done), &got) != 0 ||
        got == 0)
      return false;
    done += got;
  }
  return true;
}

}  // namespace

ResultCode ServerSession::ReadXmlBody(XmlDocument* doc, ResultCode own) {
  FileSystem& files = env_.files;
  std::string folder, path;
  if (files.TempFolder(&folder) != 0 || files.MakeTempFile(folder, kTempFilePrefix, &path) != 0)
    return own;
  std::string text;
  {
    const TempFileRemover remover(files, path);
    if (ResultCode r = SpoolBody(path, own)) return r;
    if (!ReadWholeFile(files, path, kMaxXmlAnswerBytes, &text)) return own;
  }
  return doc->Parse(std::move(text)) == XmlError::kNone ? result::kSuccess : own;
}

ResultCode ServerSession::ReadTextBody(std::string* text, ResultCode own) {
  text->clear();
  char block[kTextBlock];
  for (uint64_t total = 0;;) {
    uint32_t got = 0;
    if (ResultCode r = Read(block, kTextBlock, &got, own)) return r;
    if (got == 0) return result::kSuccess;
    // Counted as read, not as kept: a body of NUL bytes keeps nothing but must end too.
    total += got;
    if (total > kMaxTextAnswerBytes) return own;
    AppendBodyPiece(std::string_view(block, got), text);
  }
}

ResultCode ServerSession::CheckServer(const std::string& root, bool wants_preferred_host,
                                      std::string* host) {
  // An answer whose headers cannot be held is one the check cannot accept.
  return GuardAllocation(*this, result::kServerCheckFailed,
                         [&] { return HeadCheck(root, wants_preferred_host, host); });
}

ResultCode ServerSession::HeadCheck(const std::string& root, bool wants_preferred_host,
                                    std::string* host) {
  ResultCode r = result::kSuccess;
  if (!OpenRequest("HEAD", root)) {
    r = OpenFailure(result::kHeadNotSent);
  } else if (wants_preferred_host && !AddHeader("X-HV-PreferredHost: *\r\n")) {
    r = result::kHeadNotSent;
  } else {
    r = Send(result::kHeadNotSent);
    if (r == result::kSuccess) r = OrOwn(ReadStatus(), result::kHeadNotSent);
  }
  // A time-out while checking means the server could not be reached.
  if (r == result::kTimeout) r = result::kCannotConnect;
  if (r != result::kSuccess) {
    CloseRequest();
    return r;
  }
  const uint32_t status = last_status_;
  if (status == 200) {
    std::string value;
    if (wants_preferred_host && ReadResponseHeader(kPreferredHostHeader, &value) && !value.empty())
      *host = value;
    if (settings_.ServerCheck() != 0) {
      const bool has = ReadResponseHeader(kVersionHeader, &value);
      const size_t dot = has ? value.find('.') : std::string::npos;
      if (dot == std::string::npos || LeadingDecimal(std::string_view(value).substr(0, dot)) < 1)
        r = result::kVersionMismatch;
    }
  } else if (status == 401 || status == 404) {
    r = result::kAuthFailed;  // a missing disk root counts as a refused sign-in
  } else if (status == 407) {
    r = result::kProxyAuthRequired;
  } else {
    r = OrOwn(MapStatus(), result::kServerCheckFailed);
  }
  CloseRequest();
  return r;
}

}  // namespace qbrk
