// Loopback helpers for tests that talk to a local server.
#pragma once

#include <winsock2.h>

#include <cstdint>

namespace qbrk::test {

// A loopback port that the system just handed out and took back: nothing listens there.
// 0 when none could be had.
inline uint16_t ClosedLoopbackPort() {
  WSADATA data;
  if (WSAStartup(MAKEWORD(2, 2), &data) != 0) return 0;
  uint16_t port = 0;
  SOCKET s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int size = sizeof address;
  if (s != INVALID_SOCKET && bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      getsockname(s, reinterpret_cast<sockaddr*>(&address), &size) == 0)
    port = ntohs(address.sin_port);
  if (s != INVALID_SOCKET) closesocket(s);
  WSACleanup();
  return port;
}

}  // namespace qbrk::test
