#include "http_test_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>

namespace qbrk::emulator::testing {

namespace {

int Connect(uint16_t port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  timeval timeout{20, 0};
  ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    ::close(fd);
    return -1;
  }
  return fd;
}

bool SendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::string HttpReply::Header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (SameName(key, name)) return value;
  }
  return {};
}

bool HttpReply::HasHeader(std::string_view name) const {
  for (const auto& field : headers) {
    if (SameName(field.first, name)) return true;
  }
  return false;
}

std::string BuildRequest(std::string_view method, std::string_view target,
                         const HeaderList& headers, std::string_view body) {
  std::string request = std::string(method) + " " + std::string(target) + " HTTP/1.1\r\n";
  request += "Host: 127.0.0.1\r\nConnection: close\r\n";
  for (const auto& [name, value] : headers)
    request += name + ": " + value + "\r\n";
  if (!body.empty() || method == "PUT" || method == "POST") {
    request += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  }
  return request + "\r\n" + std::string(body);
}

HttpReply SendRaw(uint16_t port, std::string_view bytes, bool head_only) {
  HttpReply reply;
  const int fd = Connect(port);
  if (fd < 0) return reply;
  SendAll(fd, bytes);
  std::string received;
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
    if (n <= 0) break;
    received.append(buffer, static_cast<size_t>(n));
  }
  ::close(fd);
  // Skip interim "100 Continue" answers.
  while (received.starts_with("HTTP/1.1 100")) {
    const size_t end = received.find("\r\n\r\n");
    if (end == std::string::npos) return reply;
    received.erase(0, end + 4);
  }
  const size_t head_end = received.find("\r\n\r\n");
  if (head_end == std::string::npos || received.size() < 12) return reply;
  reply.status = std::atoi(received.substr(9, 3).c_str());
  size_t line = received.find("\r\n") + 2;
  while (line < head_end) {
    const size_t end = received.find("\r\n", line);
    const std::string field = received.substr(line, end - line);
    const size_t colon = field.find(':');
    if (colon != std::string::npos) {
      size_t value = colon + 1;
      while (value < field.size() && field[value] == ' ')
        ++value;
      reply.headers.emplace_back(field.substr(0, colon), field.substr(value));
    }
    line = end + 2;
  }
  if (!head_only) reply.body = received.substr(head_end + 4);
  const std::string length = reply.Header("Content-Length");
  if (!head_only && !length.empty()) {
    reply.truncated = reply.body.size() < std::strtoull(length.c_str(), nullptr, 10);
  }
  return reply;
}

void SendAndHangUp(uint16_t port, std::string_view bytes) {
  const int fd = Connect(port);
  if (fd < 0) return;
  SendAll(fd, bytes);
  ::close(fd);
}

}  // namespace qbrk::emulator::testing
