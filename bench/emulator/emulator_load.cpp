// Load for the emulator benchmark, on raw sockets so that the client costs little:
//   emulator_load requests PORT USER:PASSWORD PATH SECONDS THREADS
//       GET of PATH, a new connection for every request, from THREADS threads
//   emulator_load put PORT USER:PASSWORD PATH BYTES    one PUT streamed from memory
//   emulator_load get PORT USER:PASSWORD PATH          one GET, the body thrown away
// Each prints "key=value" figures on one line; the exit status is 0 when every request
// succeeded.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::string Base64(const std::string& in) {
  static const char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (size_t i = 0; i < in.size(); i += 3) {
    const size_t n = std::min<size_t>(3, in.size() - i);
    uint32_t v = 0;
    for (size_t k = 0; k < 3; ++k) v = (v << 8) | (k < n ? static_cast<unsigned char>(in[i + k]) : 0);
    out += kAlphabet[(v >> 18) & 63];
    out += kAlphabet[(v >> 12) & 63];
    out += n > 1 ? kAlphabet[(v >> 6) & 63] : '=';
    out += n > 2 ? kAlphabet[v & 63] : '=';
  }
  return out;
}

int Connect(uint16_t port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return -1;
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

bool SendAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL);
    if (n <= 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// Reads the answer to its end; the status, and the number of body bytes in *body_bytes.
int ReadAnswer(int fd, uint64_t* body_bytes) {
  std::vector<char> buffer(1 << 16);
  std::string head;
  uint64_t total = 0;
  size_t head_end = std::string::npos;
  for (;;) {
    const ssize_t n = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (n <= 0) break;
    if (head_end == std::string::npos) {
      head.append(buffer.data(), static_cast<size_t>(n));
      head_end = head.find("\r\n\r\n");
      if (head_end != std::string::npos) total = head.size() - head_end - 4;
    } else {
      total += static_cast<uint64_t>(n);
    }
  }
  if (body_bytes != nullptr) *body_bytes = total;
  return head.size() > 12 ? std::atoi(head.c_str() + 9) : 0;
}

std::string Head(const char* method, const std::string& path, const std::string& credentials,
                 const std::string& extra) {
  return std::string(method) + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
         "Authorization: Basic " + Base64(credentials) +
         "\r\nAccept-Charset: Shift_JIS\r\nConnection: close\r\n" + extra + "\r\n";
}

double Seconds(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

int Requests(uint16_t port, const std::string& credentials, const std::string& path,
             double seconds, int threads) {
  const std::string request = Head("GET", path, credentials, "");
  std::atomic<uint64_t> done{0};
  std::atomic<uint64_t> failed{0};
  const auto start = Clock::now();
  const auto end = start + std::chrono::duration_cast<Clock::duration>(
                               std::chrono::duration<double>(seconds));
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t) {
    workers.emplace_back([&] {
      while (Clock::now() < end) {
        const int fd = Connect(port);
        bool ok = fd >= 0 && SendAll(fd, request.data(), request.size());
        if (ok) ok = ReadAnswer(fd, nullptr) == 200;
        if (fd >= 0) ::close(fd);
        ++(ok ? done : failed);
      }
    });
  }
  for (std::thread& w : workers) w.join();
  const double elapsed = Seconds(start);
  std::printf("requests=%llu failed=%llu seconds=%.2f rps=%.0f\n",
              static_cast<unsigned long long>(done.load()),
              static_cast<unsigned long long>(failed.load()), elapsed, done / elapsed);
  return failed == 0 ? 0 : 1;
}

int Put(uint16_t port, const std::string& credentials, const std::string& path, uint64_t bytes) {
  const int fd = Connect(port);
  if (fd < 0) return 1;
  const std::string head =
      Head("PUT", path, credentials, "Content-Length: " + std::to_string(bytes) + "\r\n");
  std::vector<char> block(1 << 20);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>('a' + i % 26);
  const auto start = Clock::now();
  bool ok = SendAll(fd, head.data(), head.size());
  for (uint64_t sent = 0; ok && sent < bytes; sent += block.size()) {
    ok = SendAll(fd, block.data(), std::min<uint64_t>(block.size(), bytes - sent));
  }
  const int status = ok ? ReadAnswer(fd, nullptr) : 0;
  ::close(fd);
  const double elapsed = Seconds(start);
  std::printf("status=%d bytes=%llu seconds=%.2f mib_per_s=%.0f\n", status,
              static_cast<unsigned long long>(bytes), elapsed, bytes / elapsed / 1048576.0);
  return status == 201 || status == 204 ? 0 : 1;
}

int Get(uint16_t port, const std::string& credentials, const std::string& path) {
  const int fd = Connect(port);
  if (fd < 0) return 1;
  const std::string request = Head("GET", path, credentials, "");
  const auto start = Clock::now();
  uint64_t bytes = 0;
  const int status = SendAll(fd, request.data(), request.size()) ? ReadAnswer(fd, &bytes) : 0;
  ::close(fd);
  const double elapsed = Seconds(start);
  std::printf("status=%d bytes=%llu seconds=%.2f mib_per_s=%.0f\n", status,
              static_cast<unsigned long long>(bytes), elapsed, bytes / elapsed / 1048576.0);
  return status == 200 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    std::fprintf(stderr, "usage: emulator_load requests|put|get PORT USER:PASSWORD PATH ...\n");
    return 2;
  }
  const std::string mode = argv[1];
  const auto port = static_cast<uint16_t>(std::atoi(argv[2]));
  const std::string credentials = argv[3];
  const std::string path = argv[4];
  if (mode == "requests" && argc == 7) {
    return Requests(port, credentials, path, std::atof(argv[5]), std::atoi(argv[6]));
  }
  if (mode == "put" && argc == 6) return Put(port, credentials, path, std::strtoull(argv[5], nullptr, 10));
  if (mode == "get" && argc == 5) return Get(port, credentials, path);
  std::fprintf(stderr, "emulator_load: bad arguments\n");
  return 2;
}
