#include "platform/win32/wininet_transport.h"

#include <windows.h>
#include <wininet.h>

#include <limits>
#include <string>

#include "platform/win32/unique_handle.h"

namespace qbrk {

namespace {

SysError LastError() {
  const DWORD error = GetLastError();
  // A failing call that sets no error must still read as a failure.
  return error != 0 ? error : ERROR_INTERNET_INTERNAL_ERROR;
}

class WinInetRequest final : public HttpRequest {
 public:
  explicit WinInetRequest(UniqueInternet handle) : handle_(std::move(handle)) {}

  SysError AddHeaders(std::string_view headers, HeaderMode mode) override {
    const DWORD flags = mode == HeaderMode::kAddIfNew
                            ? HTTP_ADDREQ_FLAG_ADD_IF_NEW
                            : HTTP_ADDREQ_FLAG_REPLACE | HTTP_ADDREQ_FLAG_ADD;
    // The length is given, so the text needs no terminator.
    if (!HttpAddRequestHeadersA(handle_.get(), headers.data(), static_cast<DWORD>(headers.size()),
                                flags)) {
      return LastError();
    }
    return 0;
  }

  SysError Send(std::string_view body) override {
    void* optional = body.empty() ? nullptr : const_cast<char*>(body.data());
    if (!HttpSendRequestA(handle_.get(), nullptr, 0, optional, static_cast<DWORD>(body.size()))) {
      return LastError();
    }
    return 0;
  }

  SysError BeginSend(uint64_t total_length) override {
    // The announced length travels in a DWORD; uploads go in ranges far below that.
    if (total_length > std::numeric_limits<DWORD>::max()) return ERROR_INVALID_PARAMETER;
    INTERNET_BUFFERSA buffers{};
    buffers.dwStructSize = sizeof(buffers);
    buffers.dwBufferTotal = static_cast<DWORD>(total_length);
    if (!HttpSendRequestExA(handle_.get(), &buffers, nullptr, 0, 0)) return LastError();
    return 0;
  }

  SysError Write(const void* data, uint32_t size) override {
    const char* next = static_cast<const char*>(data);
    uint32_t left = size;
    // Every round either moves bytes or ends the loop.
    while (left > 0) {
      DWORD written = 0;
      if (!InternetWriteFile(handle_.get(), next, left, &written)) return LastError();
      if (written == 0 || written > left) return ERROR_INTERNET_CONNECTION_ABORTED;
      next += written;
      left -= written;
    }
    return 0;
  }

  SysError EndSend() override {
    if (!HttpEndRequestA(handle_.get(), nullptr, 0, 0)) return LastError();
    return 0;
  }

  SysError QueryStatus(uint32_t* status) override {
    DWORD value = 0;
    DWORD size = sizeof(value);
    if (!HttpQueryInfoA(handle_.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &value,
                        &size, nullptr)) {
      return LastError();
    }
    *status = value;
    return 0;
  }

  SysError QueryRawHeaders(HeaderBlock block, std::string* text) override {
    DWORD level = HTTP_QUERY_RAW_HEADERS_CRLF;
    if (block == HeaderBlock::kRequest) level |= HTTP_QUERY_FLAG_REQUEST_HEADERS;
    text->assign(1024, '\0');
    // The first call reports the size it needs; a second sized call must then succeed, and a
    // block that keeps growing between calls is refused rather than chased.
    for (int round = 0; round < 3; ++round) {
      DWORD size = static_cast<DWORD>(text->size());
      if (HttpQueryInfoA(handle_.get(), level, text->data(), &size, nullptr)) {
        text->resize(size);
        return 0;
      }
      const DWORD error = GetLastError();
      if (error != ERROR_INSUFFICIENT_BUFFER) {
        text->clear();
        return error != 0 ? error : ERROR_INTERNET_INTERNAL_ERROR;
      }
      text->assign(size + 1, '\0');
    }
    text->clear();
    return ERROR_INSUFFICIENT_BUFFER;
  }

  SysError Read(void* buffer, uint32_t size, uint32_t* read) override {
    DWORD got = 0;
    *read = 0;
    if (!InternetReadFile(handle_.get(), buffer, size, &got)) return LastError();
    *read = got;
    return 0;
  }

  uint32_t ShowErrorDialog(uintptr_t owner_window, SysError error, uint32_t flags) override {
    return InternetErrorDlg(reinterpret_cast<HWND>(owner_window), handle_.get(), error, flags,
                            nullptr);
  }

 private:
  UniqueInternet handle_;
};

// The session's time-outs, in milliseconds; 0 leaves WinINet's own.
struct Timeouts {
  DWORD send = 0;
  DWORD receive = 0;
};

SysError ApplyTimeouts(HINTERNET handle, const Timeouts& timeouts) {
  DWORD send = timeouts.send;
  DWORD receive = timeouts.receive;
  if ((send != 0 &&
       !InternetSetOptionA(handle, INTERNET_OPTION_SEND_TIMEOUT, &send, sizeof(send))) ||
      (receive != 0 &&
       !InternetSetOptionA(handle, INTERNET_OPTION_RECEIVE_TIMEOUT, &receive, sizeof(receive)))) {
    return LastError();
  }
  return 0;
}

class WinInetConnection final : public HttpConnection {
 public:
  WinInetConnection(UniqueInternet handle, const Timeouts& timeouts)
      : handle_(std::move(handle)), timeouts_(timeouts) {}

  SysError OpenRequest(std::string_view method, std::string_view path, uint32_t flags,
                       std::unique_ptr<HttpRequest>* request) override {
    const std::string verb(method);
    const std::string object(path);
    UniqueInternet handle(HttpOpenRequestA(handle_.get(), verb.c_str(), object.c_str(), "HTTP/1.1",
                                           nullptr, nullptr, flags, 1));
    if (!handle) return LastError();
    // Windows hands the session's time-outs down to its requests; Wine does not, and a
    // silent server would then hold a job for ever. Setting them again is harmless.
    if (SysError error = ApplyTimeouts(handle.get(), timeouts_)) return error;
    *request = std::make_unique<WinInetRequest>(std::move(handle));
    return 0;
  }

 private:
  UniqueInternet handle_;
  Timeouts timeouts_;
};

class WinInetSession final : public HttpSession {
 public:
  explicit WinInetSession(UniqueInternet handle) : handle_(std::move(handle)) {}

  SysError SetTimeouts(uint32_t send_ms, uint32_t receive_ms) override {
    const Timeouts timeouts{send_ms, receive_ms};
    if (SysError error = ApplyTimeouts(handle_.get(), timeouts)) return error;
    timeouts_ = timeouts;
    return 0;
  }

  SysError Connect(const std::string& host, uint16_t port,
                   std::unique_ptr<HttpConnection>* connection) override {
    UniqueInternet handle(InternetConnectA(handle_.get(), host.c_str(), port, nullptr, nullptr,
                                           INTERNET_SERVICE_HTTP, 0, 0));
    if (!handle) return LastError();
    *connection = std::make_unique<WinInetConnection>(std::move(handle), timeouts_);
    return 0;
  }

 private:
  UniqueInternet handle_;
  Timeouts timeouts_;
};

}  // namespace

SysError WinInetTransport::OpenSession(const std::string& agent,
                                       std::unique_ptr<HttpSession>* session) {
  UniqueInternet handle(
      InternetOpenA(agent.c_str(), INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
  if (!handle) return LastError();
  *session = std::make_unique<WinInetSession>(std::move(handle));
  return 0;
}

SysError WinInetTransport::AttemptConnect() {
  // Loaded at run time: a system whose WinINet lacks the entry point must still run.
  UniqueModule wininet(LoadLibraryA("wininet.dll"));
  if (!wininet) return LastError();
  using AttemptConnectFn = DWORD(WINAPI*)(DWORD);
  const auto attempt = reinterpret_cast<AttemptConnectFn>(
      reinterpret_cast<void*>(GetProcAddress(wininet.get(), "InternetAttemptConnect")));
  if (attempt == nullptr) return LastError();
  return attempt(0);
}

}  // namespace qbrk
