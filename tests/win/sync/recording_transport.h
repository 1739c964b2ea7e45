// An HTTP transport that hands everything to another one and keeps "METHOD path" of every
// request opened through it, so that a test can say what the library asked the server for.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/http_transport.h"

namespace qbrk::test {

class RecordingTransport final : public HttpTransport {
 public:
  explicit RecordingTransport(HttpTransport& inner) : inner_(inner) {}

  SysError OpenSession(const std::string& agent, std::unique_ptr<HttpSession>* session) override;
  SysError AttemptConnect() override { return inner_.AttemptConnect(); }

  // "METHOD path", in the order the requests were opened.
  const std::vector<std::string>& requests() const { return requests_; }
  void clear() { requests_.clear(); }

 private:
  HttpTransport& inner_;
  std::vector<std::string> requests_;
};

}  // namespace qbrk::test
