// The HTTP session through which every server operation runs: it opens each request with
// the same flags and common headers, reads the status (tracing the exchange when logging is
// on), and turns statuses and network failures into result codes.
//
// Within a session the order is always: open request, extra headers, send (or begin, write,
// end), read status, map it, read headers or body, close request. One request at a time.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "common/result_code.h"
#include "platform/dialog_link.h"
#include "platform/env.h"
#include "platform/http_transport.h"
#include "protocol/listing_parser.h"
#include "protocol/xml/xml_document.h"
#include "settings/settings.h"

namespace qbrk {

// Prefix of the library's temporary files (spooled answers, downloads in progress).
inline constexpr char kTempFilePrefix[] = "qbk";

// The most an answer read whole may hold; reading stops past it and the operation fails
// with its own code, so a broken or hostile server cannot make the library run out of
// memory. Far above any real answer (docs/protocol.md gives the figures).
inline constexpr uint64_t kMaxXmlAnswerBytes = uint64_t{64} << 20;
inline constexpr uint64_t kMaxTextAnswerBytes = uint64_t{1} << 20;

struct SessionOptions {
  uint32_t upload_unit = 0;    // PutUnit: bytes per ranged PUT, 0 = never split
  bool secure = false;         // UseSSL
  uintptr_t owner_window = 0;  // the dialog's window, owner of the certificate dialog
};

// A header added to a request beyond the common ones.
struct ExtraHeader {
  std::string_view text;
  HeaderMode mode = HeaderMode::kAddIfNew;
};

class ServerSession {
 public:
  // `link` may be null (no dialog: nothing is posted and nothing is ever cancelled).
  ServerSession(Env& env, HttpTransport& http, DialogLink* link, SessionOptions options);
  ~ServerSession();
  ServerSession(const ServerSession&) = delete;
  ServerSession& operator=(const ServerSession&) = delete;

  // --- Session ---
  // Posts the connecting notice, opens the Internet session with the Timeout setting for
  // sending and receiving, connects to host and port, and builds the authorization line.
  // 0 or 74.
  ResultCode OpenSession(const std::string& host, uint16_t port, const std::string& user,
                         const std::string& password);
  // Closes the request, the connection and the session, in that order.
  void CloseSession();
  bool is_open() const { return connection_ != nullptr; }
  // The HEAD check of the disk root at connect time; `*host` receives the preferred host
  // when one is wanted and the server names one. 0 or a result code.
  ResultCode CheckServer(const std::string& root, bool wants_preferred_host, std::string* host);
  void SetProxyCredentials(const std::string& user, const std::string& password);
  // True when the owning job was cancelled (its dialog closed).
  bool IsCancelled();
  // Posts `message` with `wparam` and waits, when a dialog is attached.
  void Notify(uint32_t message, uintptr_t wparam);

  // --- One request ---
  // Opens `method` on `path` ("%" then "#" escaped) with the common flags and headers.
  bool OpenRequest(std::string_view method, std::string_view path);
  // Why OpenRequest failed: the mapped network failure, or `own`.
  ResultCode OpenFailure(ResultCode own);
  bool AddHeader(std::string_view header, HeaderMode mode = HeaderMode::kAddIfNew);
  // Sends the request with no body. 0; 1 when the user declined the server's certificate;
  // or the mapped network failure with 500 replaced by `own`.
  ResultCode Send(ResultCode own);
  // Sends `body` with its exact length through begin, write and end; results as Send.
  ResultCode SendBody(std::string_view body, ResultCode own);
  ResultCode BeginSend(uint64_t total_length, ResultCode own);
  ResultCode Write(const void* data, uint32_t size, ResultCode own);
  ResultCode EndSend(ResultCode own);
  // 0 (status stored), 3 (no request open) or 500 (status not readable).
  ResultCode ReadStatus();
  uint32_t last_status() const { return last_status_; }
  ResultCode MapStatus() const;
  // The network failure's result code; first writes the EXCEPTION line when logging is on
  // and the job goes on.
  ResultCode MapNetworkError(SysError error);
  // The trimmed value of a response header (name case-sensitive); false when missing.
  bool ReadResponseHeader(std::string_view name, std::string* value);
  // Reads up to `size` body bytes; failures mapped as network errors, 500 becoming `own`.
  ResultCode Read(void* buffer, uint32_t size, uint32_t* read, ResultCode own);
  void CloseRequest();

  // Open, extra headers, send (with `body` when given) and read status in one go. 0 when a
  // status was read (the request stays open); otherwise the request is closed and the code
  // says why: any failure of open, headers, send or status becomes `own` unless the network
  // map knows it.
  ResultCode Exchange(std::string_view method, std::string_view path,
                      std::initializer_list<ExtraHeader> headers, const std::string_view* body,
                      ResultCode own);
  // Spools the whole answer into a temporary file, reads it back, deletes the file and
  // parses it. 0, 1 (cancelled between blocks) or `own` (also for an answer longer than
  // kMaxXmlAnswerBytes).
  ResultCode ReadXmlBody(XmlDocument* doc, ResultCode own);
  // Reads the whole answer as text, 4095 bytes at a time, each piece up to its first NUL.
  // An answer longer than kMaxTextAnswerBytes gives `own`.
  ResultCode ReadTextBody(std::string* text, ResultCode own);

  // --- State the operations share ---
  Env& env() { return env_; }
  Settings& settings() { return settings_; }
  uint32_t upload_unit() const { return options_.upload_unit; }
  bool secure() const { return options_.secure; }
  // The user name of the stored credentials: locks whose owner equals it are this user's.
  const std::string& own_owner() const { return own_owner_; }
  void set_own_owner(std::string owner) { own_owner_ = std::move(owner); }
  // The disk root with its trailing "/" (target of the disk-wide lock release).
  const std::string& disk_root() const { return disk_root_; }
  void set_disk_root(std::string root) { disk_root_ = std::move(root); }
  // Listings fetched during the session's life, by folder path.
  std::map<std::string, Listing>& listings() { return listings_; }

 private:
  // Runs one sending step under the certificate rule: a 12045 with a dialog shows the
  // Internet error dialog and, when the user accepts, sends again.
  ResultCode SendStep(ResultCode own, bool with_body, uint64_t total_length);
  ResultCode StepFailure(SysError error, ResultCode own);
  // CheckServer without its guard.
  ResultCode HeadCheck(const std::string& root, bool wants_preferred_host, std::string* host);
  // Writes the whole answer into the file `path`, block by block.
  ResultCode SpoolBody(const std::string& path, ResultCode own);
  void Trace();

  Env& env_;
  HttpTransport& http_;
  DialogLink* link_;
  SessionOptions options_;
  Settings settings_;
  std::unique_ptr<HttpSession> session_;
  std::unique_ptr<HttpConnection> connection_;
  std::unique_ptr<HttpRequest> request_;
  uint32_t last_status_ = 0;
  SysError open_error_ = 0;  // why the last OpenRequest failed, 0 when headers failed
  std::string authorization_;
  std::string proxy_authorization_;
  std::string own_owner_;
  std::string disk_root_;
  std::map<std::string, Listing> listings_;
};

// "%" becomes "%25", then "#" becomes "%23"; nothing else is escaped.
std::string EscapeRequestPath(std::string_view path);

}  // namespace qbrk
