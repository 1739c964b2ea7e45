#include "recording_transport.h"

namespace qbrk::test {

namespace {

class RecordingConnection final : public HttpConnection {
 public:
  RecordingConnection(std::unique_ptr<HttpConnection> inner, std::vector<std::string>& requests)
      : inner_(std::move(inner)), requests_(requests) {}

  SysError OpenRequest(std::string_view method, std::string_view path, uint32_t flags,
                       std::unique_ptr<HttpRequest>* request) override {
    requests_.push_back(std::string(method) + " " + std::string(path));
    return inner_->OpenRequest(method, path, flags, request);
  }

 private:
  std::unique_ptr<HttpConnection> inner_;
  std::vector<std::string>& requests_;
};

class RecordingSession final : public HttpSession {
 public:
  RecordingSession(std::unique_ptr<HttpSession> inner, std::vector<std::string>& requests)
      : inner_(std::move(inner)), requests_(requests) {}

  SysError SetTimeouts(uint32_t send_ms, uint32_t receive_ms) override {
    return inner_->SetTimeouts(send_ms, receive_ms);
  }
  SysError Connect(const std::string& host, uint16_t port,
                   std::unique_ptr<HttpConnection>* connection) override {
    std::unique_ptr<HttpConnection> inner;
    const SysError e = inner_->Connect(host, port, &inner);
    if (e == 0) *connection = std::make_unique<RecordingConnection>(std::move(inner), requests_);
    return e;
  }

 private:
  std::unique_ptr<HttpSession> inner_;
  std::vector<std::string>& requests_;
};

}  // namespace

SysError RecordingTransport::OpenSession(const std::string& agent,
                                         std::unique_ptr<HttpSession>* session) {
  std::unique_ptr<HttpSession> inner;
  const SysError e = inner_.OpenSession(agent, &inner);
  if (e == 0) *session = std::make_unique<RecordingSession>(std::move(inner), requests_);
  return e;
}

}  // namespace qbrk::test
