#include "platform/memory/memory_http_transport.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "common/mbcs.h"
#include "protocol/reason_phrase.h"

namespace qbrk {

namespace {

std::string_view StripLineEnd(std::string_view line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
    line.remove_suffix(1);
  return line;
}

std::string_view HeaderName(std::string_view line) {
  const size_t colon = line.find(':');
  return colon == std::string_view::npos ? line : line.substr(0, colon);
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
    text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
    text.remove_suffix(1);
  return text;
}

}  // namespace

std::string SentRequest::Wire() const {
  std::string wire = method + " " + path + " HTTP/1.1\r\n";
  for (const auto& line : header_lines)
    wire += line + "\r\n";
  wire += "\r\n";
  wire += body;
  return wire;
}

std::string SentRequest::SentBlock() const {
  std::vector<std::string> lines = header_lines;
  auto add_if_new = [&](std::string_view name, const std::string& value) {
    for (const auto& line : lines)
      if (EqualsIgnoringAsciiCase(HeaderName(line), name)) return;
    lines.push_back(std::string(name) + ": " + value);
  };
  // As Wine's WinINet does at the send: the port unless it is the scheme's default, a
  // length on everything but a bodiless GET, and no-cache where the cache is not written.
  const bool secure = (flags & http_open_flags::kSecure) != 0;
  const bool default_port = port == (secure ? 443 : 80);
  add_if_new("Host", default_port ? host : host + ":" + std::to_string(port));
  if (method != "GET" || begun || !body.empty())
    add_if_new("Content-Length", std::to_string(body.size()));
  add_if_new("User-Agent", agent);
  if ((flags & http_open_flags::kNoCacheWrite) != 0 && method != "GET")
    add_if_new("Cache-Control", "no-cache");
  std::string block = method + " " + path + " HTTP/1.1\r\n";
  for (const auto& line : lines)
    block += line + "\r\n";
  return block + "\r\n";
}

std::string SentRequest::Header(std::string_view name) const {
  for (const auto& line : header_lines) {
    if (EqualsIgnoringAsciiCase(HeaderName(line), name)) {
      const size_t colon = line.find(':');
      return colon == std::string::npos
                 ? std::string()
                 : std::string(Trim(std::string_view(line).substr(colon + 1)));
    }
  }
  return std::string();
}

class MemoryHttpTransport::Request final : public HttpRequest {
 public:
  enum class State { kOpened, kBegun, kSent, kFailed };

  // `index` is the request's place in the transport's record, or kUnrecorded when the request
  // keeps `sent` itself.
  static constexpr size_t kUnrecorded = static_cast<size_t>(-1);
  Request(MemoryHttpTransport& transport, size_t index, SentRequest sent, ScriptedReply reply,
          bool by_handler)
      : transport_(transport),
        index_(index),
        own_(std::move(sent)),
        reply_(std::move(reply)),
        by_handler_(by_handler) {
    ++transport_.open_requests_;
  }
  ~Request() override { --transport_.open_requests_; }

  SysError AddHeaders(std::string_view headers, HeaderMode mode) override {
    if (state_ != State::kOpened) return Misuse();
    record().header_calls.push_back({std::string(headers), mode});
    if (reply_.fail_at == FailStep::kAddHeaders) return reply_.error;
    const std::string line(StripLineEnd(headers));
    auto& lines = record().header_lines;
    auto same = std::find_if(lines.begin(), lines.end(), [&](const std::string& existing) {
      return EqualsIgnoringAsciiCase(HeaderName(existing), HeaderName(line));
    });
    if (same == lines.end()) {
      lines.push_back(line);
    } else if (mode == HeaderMode::kReplace) {
      *same = line;
    } else {
      return net_error::kHeaderAlreadyExists;
    }
    return 0;
  }

  SysError Send(std::string_view body) override {
    if (state_ != State::kOpened) return Misuse();
    if (SysError e = SendingFails()) return e;
    record().body = std::string(body);
    return Deliver();
  }

  SysError BeginSend(uint64_t total_length) override {
    if (state_ != State::kOpened) return Misuse();
    if (SysError e = SendingFails()) return e;
    record().begun = true;
    declared_ = total_length;
    state_ = State::kBegun;
    return 0;
  }

  SysError Write(const void* data, uint32_t size) override {
    if (state_ != State::kBegun) return Misuse();
    if (record().body.size() + size > declared_) return Misuse();
    if (reply_.fail_at == FailStep::kWrite) return Fail();
    record().body.append(static_cast<const char*>(data), size);
    return 0;
  }

  SysError EndSend() override {
    if (state_ != State::kBegun || record().body.size() != declared_) return Misuse();
    if (reply_.fail_at == FailStep::kEnd) return Fail();
    return Deliver();
  }

  SysError QueryStatus(uint32_t* status) override {
    if (state_ != State::kSent) return Misuse();
    if (reply_.fail_at == FailStep::kStatus) return reply_.error;
    *status = reply_.status;
    return 0;
  }

  SysError QueryRawHeaders(HeaderBlock block, std::string* text) override {
    if (block == HeaderBlock::kRequest) {
      // Before the send only what the client added is there.
      if (state_ == State::kSent) {
        *text = record().SentBlock();
      } else {
        const std::string wire = record().Wire();
        *text = wire.substr(0, wire.size() - record().body.size());
      }
      return 0;
    }
    if (state_ != State::kSent) return Misuse();
    if (no_answer_) {
      *text = "\r\n";
      return 0;
    }
    const std::string answer = "HTTP/1.1 " + std::to_string(reply_.status) + " " +
                               std::string(ReasonPhrase(static_cast<int>(reply_.status))) + "\r\n" +
                               reply_.headers;
    const uint64_t padding = reply_.padding_header_bytes;
    if (padding == 0) {
      *text = answer + "\r\n";
      return 0;
    }
    constexpr std::string_view kPaddingName = "X-Padding: ";
    const uint64_t fixed = answer.size() + kPaddingName.size() + 4;  // and two line ends
    if (padding > text->max_size() - fixed) throw std::length_error("header block");
    if (padding + fixed > kMaxHeldBlock) throw std::bad_alloc();
    *text = answer;
    *text += kPaddingName;
    text->append(static_cast<size_t>(padding), 'p');
    *text += "\r\n\r\n";
    return 0;
  }

  SysError Read(void* buffer, uint32_t size, uint32_t* read) override {
    *read = 0;
    if (state_ != State::kSent) return Misuse();
    uint64_t available = BodyLength() - position_;
    const bool fails = reply_.fail_at == FailStep::kRead;
    if (fails) {
      if (position_ >= reply_.fail_after_bytes) return reply_.error;
      available = std::min<uint64_t>(available, reply_.fail_after_bytes - position_);
    }
    const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(available, size));
    CopyBody(position_, n, static_cast<char*>(buffer));
    position_ += n;
    transport_.body_bytes_read_ += n;
    *read = n;
    return 0;
  }

  uint32_t ShowErrorDialog(uintptr_t owner_window, SysError error, uint32_t flags) override {
    transport_.error_dialogs_.push_back({owner_window, error, flags});
    return transport_.error_dialog_answer_;
  }

 private:
  SentRequest& record() { return index_ == kUnrecorded ? own_ : transport_.requests_[index_]; }

  uint64_t BodyLength() const {
    const RepeatedBody& more = reply_.repeated_body;
    return reply_.body.size() + (more.chunk.empty() ? 0 : more.length);
  }

  // Copies `size` body bytes from `offset`: first from the held body, then from the
  // repeated chunk.
  void CopyBody(uint64_t offset, uint32_t size, char* out) const {
    const std::string& held = reply_.body;
    if (offset < held.size()) {
      const size_t n = static_cast<size_t>(std::min<uint64_t>(held.size() - offset, size));
      std::memcpy(out, held.data() + offset, n);
      offset += n;
      out += n;
      size -= static_cast<uint32_t>(n);
    }
    const std::string& chunk = reply_.repeated_body.chunk;
    while (size > 0) {
      const size_t at = static_cast<size_t>((offset - held.size()) % chunk.size());
      const size_t n = std::min<size_t>(chunk.size() - at, size);
      std::memcpy(out, chunk.data() + at, n);
      offset += n;
      out += n;
      size -= static_cast<uint32_t>(n);
    }
  }

  SysError Misuse() {
    ++transport_.misuses_;
    return net_error::kIncorrectHandleState;
  }

  SysError Fail() {
    state_ = State::kFailed;
    return reply_.error;
  }

  // The failures a send can meet before anything reaches the server.
  SysError SendingFails() {
    const uint16_t listening = transport_.listening_port_;
    if (listening != 0 && record().port != listening) {
      state_ = State::kFailed;
      return net_error::kCannotConnect;
    }
    if (reply_.untrusted_sends > 0) {
      --reply_.untrusted_sends;
      return net_error::kInvalidCa;
    }
    if (reply_.fail_at == FailStep::kSend) return Fail();
    return 0;
  }

  // The request has reached the server: take its answer.
  SysError Deliver() {
    record().sent = true;
    state_ = State::kSent;
    if (!by_handler_) return 0;
    HandlerRequest request;
    request.method = record().method;
    request.path = record().path;
    for (const auto& line : record().header_lines) {
      const size_t colon = line.find(':');
      if (colon == std::string::npos) continue;
      request.headers.emplace_back(line.substr(0, colon),
                                   std::string(Trim(std::string_view(line).substr(colon + 1))));
    }
    // Lent to the handler, which sees it as const, and taken back: bodies are not copied.
    request.body = std::move(record().body);
    HandlerResponse response = transport_.handler_(request);
    record().body = std::move(request.body);
    switch (response.fail_at) {
      case FailStep::kNone:
        break;
      case FailStep::kSend:
      case FailStep::kEnd:
        // The step that delivered the request reports the failure; no answer came.
        state_ = State::kFailed;
        return response.error;
      case FailStep::kStatus:
      case FailStep::kRead:
        reply_.fail_at = response.fail_at;
        reply_.error = response.error;
        reply_.fail_after_bytes = response.fail_after_bytes;
        break;
      default:
        // Those steps ran before the handler was asked.
        ++transport_.misuses_;
        break;
    }
    // A server that hangs up is not reported as an error by WinINet (as Wine's shows it):
    // during the request the send still succeeds and there is no answer at all (status 0,
    // an empty header block, no body); during the answer the body simply ends early.
    if (response.connection_cut && response.status == 0) {
      reply_.status = 0;
      reply_.headers.clear();
      reply_.body.clear();
      reply_.repeated_body = RepeatedBody();
      no_answer_ = true;
      return 0;
    }
    reply_.status = response.status;
    reply_.headers.clear();
    for (const auto& [name, value] : response.headers)
      reply_.headers += name + ": " + value + "\r\n";
    reply_.body = std::move(response.body);
    reply_.repeated_body = std::move(response.repeated_body);
    return 0;
  }

  MemoryHttpTransport& transport_;
  size_t index_;
  SentRequest own_;  // the request's record when the transport keeps none
  ScriptedReply reply_;
  bool by_handler_;
  State state_ = State::kOpened;
  bool no_answer_ = false;  // the server hung up before answering
  uint64_t declared_ = 0;
  uint64_t position_ = 0;
};

class MemoryHttpTransport::Connection final : public HttpConnection {
 public:
  Connection(MemoryHttpTransport& transport, std::string agent, std::string host, uint16_t port)
      : transport_(transport), agent_(std::move(agent)), host_(std::move(host)), port_(port) {}

  SysError OpenRequest(std::string_view method, std::string_view path, uint32_t flags,
                       std::unique_ptr<HttpRequest>* request) override {
    SentRequest sent;
    sent.agent = agent_;
    sent.host = host_;
    sent.port = port_;
    sent.method = std::string(method);
    sent.path = std::string(path);
    sent.flags = flags;
    ++transport_.request_count_;
    size_t index = Request::kUnrecorded;
    if (transport_.recording_) {
      transport_.requests_.push_back(std::move(sent));
      sent = SentRequest();
      index = transport_.requests_.size() - 1;
    }

    ScriptedReply reply;
    bool by_handler = false;
    if (!transport_.replies_.empty()) {
      reply = std::move(transport_.replies_.front());
      transport_.replies_.pop_front();
    } else if (transport_.handler_) {
      by_handler = true;
    } else {
      ++transport_.unanswered_;
      return net_error::kCannotConnect;
    }
    if (reply.fail_at == FailStep::kOpen) return reply.error;
    *request =
        std::make_unique<Request>(transport_, index, std::move(sent), std::move(reply), by_handler);
    return 0;
  }

 private:
  MemoryHttpTransport& transport_;
  std::string agent_;
  std::string host_;
  uint16_t port_;
};

class MemoryHttpTransport::Session final : public HttpSession {
 public:
  Session(MemoryHttpTransport& transport, std::string agent)
      : transport_(transport), agent_(std::move(agent)) {}

  SysError SetTimeouts(uint32_t send_ms, uint32_t receive_ms) override {
    if (transport_.timeout_error_) return transport_.timeout_error_;
    transport_.timeouts_.emplace_back(send_ms, receive_ms);
    return 0;
  }

  SysError Connect(const std::string& host, uint16_t port,
                   std::unique_ptr<HttpConnection>* connection) override {
    if (transport_.connect_error_) return transport_.connect_error_;
    transport_.connects_.emplace_back(host, port);
    *connection = std::make_unique<Connection>(transport_, agent_, host, port);
    return 0;
  }

 private:
  MemoryHttpTransport& transport_;
  std::string agent_;
};

MemoryHttpTransport::MemoryHttpTransport() = default;
MemoryHttpTransport::~MemoryHttpTransport() = default;

SysError MemoryHttpTransport::OpenSession(const std::string& agent,
                                          std::unique_ptr<HttpSession>* session) {
  if (open_session_error_) return open_session_error_;
  agents_.push_back(agent);
  *session = std::make_unique<Session>(*this, agent);
  return 0;
}

void MemoryHttpTransport::Script(ScriptedReply reply) {
  if (!reply.headers.empty() && reply.headers.back() != '\n') reply.headers += "\r\n";
  replies_.push_back(std::move(reply));
}

void MemoryHttpTransport::Script(uint32_t status, std::string headers, std::string body) {
  ScriptedReply reply;
  reply.status = status;
  reply.headers = std::move(headers);
  reply.body = std::move(body);
  Script(std::move(reply));
}

void MemoryHttpTransport::ScriptFailure(FailStep step, SysError error) {
  ScriptedReply reply;
  reply.fail_at = step;
  reply.error = error;
  Script(std::move(reply));
}

std::string MemoryHttpTransport::Transcript() const {
  std::string all;
  for (const auto& request : requests_)
    all += request.Wire();
  return all;
}

}  // namespace qbrk
