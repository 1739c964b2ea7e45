// A small HTTP/1.1 client on raw sockets for the emulator's tests: it sends exactly the
// bytes it is given and reads the answer until the server closes the connection.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qbrk::emulator::testing {

struct HttpReply {
  int status = 0;  // 0 when no status line arrived
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  // The connection ended before Content-Length bytes of body arrived.
  bool truncated = false;

  std::string Header(std::string_view name) const;
  bool HasHeader(std::string_view name) const;
};

using HeaderList = std::vector<std::pair<std::string, std::string>>;

std::string BuildRequest(std::string_view method, std::string_view target,
                         const HeaderList& headers, std::string_view body);

// Sends raw bytes and reads the whole answer. head_only: the answer has no body (HEAD).
HttpReply SendRaw(uint16_t port, std::string_view bytes, bool head_only = false);

// Sends the head and only part of a body, then closes the connection like a client that
// died.
void SendAndHangUp(uint16_t port, std::string_view bytes);

}  // namespace qbrk::emulator::testing
