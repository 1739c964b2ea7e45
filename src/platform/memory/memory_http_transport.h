// An in-memory HTTP transport. Each request is answered either by the next scripted reply
// (status, headers, body, or a network error at a chosen step) or, when no reply is queued,
// by an in-process request handler (an emulator or a model of the service). Every request is
// recorded exactly as the client framed it, so tests can compare the bytes a client "sent";
// a run that sends millions of requests can turn the record off.
//
// It is strict about the order of a request's steps: a step after a failed send, a write
// without a begun send, a status before sending... is refused with 12019 and counted as a
// misuse, because the real client crashes or misbehaves there.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/http_transport.h"
#include "platform/memory/http_handler.h"

namespace qbrk {

// What one request carried, as the transport saw it.
struct SentRequest {
  struct HeaderCall {
    std::string text;  // as given to AddHeaders
    HeaderMode mode;
  };
  std::string agent;
  std::string host;
  uint16_t port = 0;
  std::string method;
  std::string path;
  uint32_t flags = 0;
  std::vector<HeaderCall> header_calls;
  std::vector<std::string> header_lines;  // the resulting header block, "Name: value" each
  std::string body;
  bool begun = false;  // BeginSend was used
  bool sent = false;   // the request reached the server (Send or EndSend succeeded)

  // "METHOD path HTTP/1.1\r\n", each header line with CR LF, an empty line, the body.
  std::string Wire() const;
  // The request block as WinINet reports it once sent: the request line, the headers the
  // client added, then those WinINet adds when they are not there yet, an empty line.
  std::string SentBlock() const;
  // The value of the first header line named `name` (ASCII case ignored), or "".
  std::string Header(std::string_view name) const;
};

struct ScriptedReply {
  uint32_t status = 200;
  std::string headers;  // "Name: value\r\n" lines, after the status line
  std::string body;
  FailStep fail_at = FailStep::kNone;
  SysError error = 0;           // the failing step's error number
  size_t fail_after_bytes = 0;  // kRead: body bytes delivered before the failure
  // Sends that fail with 12045 (certificate authority not trusted) before one succeeds.
  int untrusted_sends = 0;
  RepeatedBody repeated_body = {};  // after `body`
  // One more response header line, "X-Padding: " and this many bytes, described rather
  // than held. Asking for the block copies it, as the real client does; a block beyond what
  // one allocation can give (kMaxHeldBlock here) throws what that allocation would:
  // std::length_error past std::string::max_size(), else std::bad_alloc.
  uint64_t padding_header_bytes = 0;
};

// A call of InternetErrorDlg.
struct ErrorDialogCall {
  uintptr_t owner_window;
  SysError error;
  uint32_t flags;
};

class MemoryHttpTransport final : public HttpTransport {
 public:
  // The largest response header block the twin builds: about what a 32-bit process can
  // hope to get in one piece.
  static constexpr uint64_t kMaxHeldBlock = uint64_t{1} << 30;

  MemoryHttpTransport();
  ~MemoryHttpTransport() override;

  SysError OpenSession(const std::string& agent, std::unique_ptr<HttpSession>* session) override;
  SysError AttemptConnect() override { return attempt_connect_error_; }

  // Queues the answer of the next request not yet answered.
  void Script(ScriptedReply reply);
  // Shorthand: a reply with `status`, header lines and body.
  void Script(uint32_t status, std::string headers = "", std::string body = "");
  // A request that fails with `error` at `step`.
  void ScriptFailure(FailStep step, SysError error);
  // Answers requests when no scripted reply is queued.
  void set_handler(RequestHandler handler) { handler_ = std::move(handler); }

  void set_open_session_error(SysError error) { open_session_error_ = error; }
  void set_connect_error(SysError error) { connect_error_ = error; }
  void set_timeout_error(SysError error) { timeout_error_ = error; }
  void set_attempt_connect_error(SysError error) { attempt_connect_error_ = error; }
  // Only this port answers (0: every port); a request to another one is refused at its
  // sending step, as by a host where nothing listens.
  void set_listening_port(uint16_t port) { listening_port_ = port; }
  // The result InternetErrorDlg gives (0: the user accepted the certificate).
  void set_error_dialog_answer(uint32_t answer) { error_dialog_answer_ = answer; }

  // Whether requests() keeps every request (the default). Off, only the count is kept.
  void set_recording(bool on) { recording_ = on; }
  const std::vector<SentRequest>& requests() const { return requests_; }
  // Requests opened so far, recorded or not.
  size_t request_count() const { return request_count_; }
  // Every request's Wire(), in order.
  std::string Transcript() const;
  const std::vector<std::string>& agents() const { return agents_; }
  const std::vector<std::pair<uint32_t, uint32_t>>& timeouts() const { return timeouts_; }
  const std::vector<std::pair<std::string, uint16_t>>& connects() const { return connects_; }
  const std::vector<ErrorDialogCall>& error_dialogs() const { return error_dialogs_; }
  size_t pending_replies() const { return replies_.size(); }
  // Requests that found neither a scripted reply nor a handler.
  size_t unanswered() const { return unanswered_; }
  // Steps called out of order (see above); a correct client makes none.
  size_t misuses() const { return misuses_; }
  size_t open_requests() const { return open_requests_; }
  // Answer body bytes the client has read, over all requests.
  uint64_t body_bytes_read() const { return body_bytes_read_; }

 private:
  class Session;
  class Connection;
  class Request;

  std::deque<ScriptedReply> replies_;
  RequestHandler handler_;
  std::vector<SentRequest> requests_;
  std::vector<std::string> agents_;
  std::vector<std::pair<uint32_t, uint32_t>> timeouts_;
  std::vector<std::pair<std::string, uint16_t>> connects_;
  std::vector<ErrorDialogCall> error_dialogs_;
  SysError open_session_error_ = 0;
  SysError connect_error_ = 0;
  SysError timeout_error_ = 0;
  SysError attempt_connect_error_ = 0;
  uint16_t listening_port_ = 0;
  uint32_t error_dialog_answer_ = 0;
  bool recording_ = true;
  size_t request_count_ = 0;
  size_t unanswered_ = 0;
  size_t misuses_ = 0;
  size_t open_requests_ = 0;
  uint64_t body_bytes_read_ = 0;
};

}  // namespace qbrk
