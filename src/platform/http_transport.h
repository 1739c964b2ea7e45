// HTTP through the platform's Internet client (WinINet on Windows): a session, a connection
// to one host and port, and one request at a time. Every step reports the failing call's
// last-error number as a SysError (the 12xxx numbers of the Internet client, or a Win32
// error); 0 is success.
//
// The order of a request is fixed: open, add headers, then either Send (headers and an
// optional body in one call) or BeginSend + Write... + EndSend (a body of a known length),
// then QueryStatus, the raw headers, Read until it delivers 0 bytes, and destruction.
// A step must not be called after an earlier sending step failed: the real client is not
// safe against it (Wine's crashes on a write after a failed begin).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/sys_error.h"

namespace qbrk {

// Flags of HttpOpenRequestA (INTERNET_FLAG_*).
namespace http_open_flags {
inline constexpr uint32_t kReload = 0x80000000;
inline constexpr uint32_t kNoCacheWrite = 0x04000000;
inline constexpr uint32_t kSecure = 0x00800000;
inline constexpr uint32_t kIgnoreCertDateInvalid = 0x00002000;
inline constexpr uint32_t kIgnoreCertCnInvalid = 0x00001000;
}  // namespace http_open_flags

// Error numbers of the Internet client that the library tells apart.
namespace net_error {
inline constexpr SysError kTimeout = 12002;
inline constexpr SysError kNameNotResolved = 12007;
inline constexpr SysError kIncorrectHandleState = 12019;
inline constexpr SysError kCannotConnect = 12029;
inline constexpr SysError kConnectionAborted = 12030;
inline constexpr SysError kConnectionReset = 12031;
inline constexpr SysError kInvalidCa = 12045;
inline constexpr SysError kHeaderNotFound = 12150;
inline constexpr SysError kHeaderAlreadyExists = 12155;
}  // namespace net_error

// Flags of InternetErrorDlg (FLAGS_ERROR_UI_*).
namespace error_dialog_flags {
inline constexpr uint32_t kFilterForErrors = 0x1;
inline constexpr uint32_t kChangeOptions = 0x2;
inline constexpr uint32_t kGenerateData = 0x4;
}  // namespace error_dialog_flags

// How HttpAddRequestHeadersA treats a header that is already present.
enum class HeaderMode {
  kAddIfNew,  // HTTP_ADDREQ_FLAG_ADD_IF_NEW: fails with 12155 when the name exists
  kReplace,   // HTTP_ADDREQ_FLAG_REPLACE | HTTP_ADDREQ_FLAG_ADD: replaces, or adds when absent
};

// Which header block HttpQueryInfoA(HTTP_QUERY_RAW_HEADERS_CRLF) returns.
enum class HeaderBlock {
  kRequest,   // with HTTP_QUERY_FLAG_REQUEST_HEADERS: request line and headers as sent
  kResponse,  // status line and headers as received
};

// One request. Destruction closes its handle.
class HttpRequest {
 public:
  virtual ~HttpRequest() = default;
  // HttpAddRequestHeadersA. `headers` is one "Name: value" line, with or without CR LF.
  virtual SysError AddHeaders(std::string_view headers, HeaderMode mode) = 0;
  // HttpSendRequestA: the headers and `body` (may be empty) in one call.
  virtual SysError Send(std::string_view body) = 0;
  // HttpSendRequestExA announcing a body of `total_length` bytes.
  virtual SysError BeginSend(uint64_t total_length) = 0;
  // InternetWriteFile until all `size` bytes are written.
  virtual SysError Write(const void* data, uint32_t size) = 0;
  // HttpEndRequestA.
  virtual SysError EndSend() = 0;
  // HttpQueryInfoA(HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER).
  virtual SysError QueryStatus(uint32_t* status) = 0;
  // HttpQueryInfoA(HTTP_QUERY_RAW_HEADERS_CRLF), each line ended by CR LF, the block by an
  // empty line.
  virtual SysError QueryRawHeaders(HeaderBlock block, std::string* text) = 0;
  // InternetReadFile: up to `size` bytes; `*read` is 0 at the end of the body.
  virtual SysError Read(void* buffer, uint32_t size, uint32_t* read) = 0;
  // InternetErrorDlg for this request on `owner_window`; returns the call's result (0 when
  // the user accepted, after which the request may be sent again as it is).
  virtual uint32_t ShowErrorDialog(uintptr_t owner_window, SysError error, uint32_t flags) = 0;
};

// The connection to one server (InternetConnectA with INTERNET_SERVICE_HTTP, no user name
// and no password). Destruction closes it.
class HttpConnection {
 public:
  virtual ~HttpConnection() = default;
  // HttpOpenRequestA with the version "HTTP/1.1", no referrer and no accept types.
  virtual SysError OpenRequest(std::string_view method, std::string_view path, uint32_t flags,
                               std::unique_ptr<HttpRequest>* request) = 0;
};

// An Internet session (InternetOpenA with the pre-configured access type: the proxy comes
// from the system's Internet settings). Destruction closes it.
class HttpSession {
 public:
  virtual ~HttpSession() = default;
  // INTERNET_OPTION_SEND_TIMEOUT and INTERNET_OPTION_RECEIVE_TIMEOUT, in milliseconds.
  virtual SysError SetTimeouts(uint32_t send_ms, uint32_t receive_ms) = 0;
  virtual SysError Connect(const std::string& host, uint16_t port,
                           std::unique_ptr<HttpConnection>* connection) = 0;
};

class HttpTransport {
 public:
  virtual ~HttpTransport() = default;
  virtual SysError OpenSession(const std::string& agent, std::unique_ptr<HttpSession>* session) = 0;
  // InternetAttemptConnect(0), loaded from "wininet.dll" at run time: asks the system to go
  // on line (dial-up). Fails when the library or the entry point is missing.
  virtual SysError AttemptConnect() = 0;
};

}  // namespace qbrk
