// The peer of the transfer benchmark: the least a client can do with WinINet to move a file,
// every body in 4096-byte blocks, with only the headers the service needs:
//   - one PUT of the whole file (the platform's ceiling for one request);
//   - the same bytes as the service takes a large file: LOCK, one PUT per piece of PIECE
//     bytes with its Content-Range and the lock token, each on a connection of its own
//     ("Connection: close"), UNLOCK;
//   - one GET read into a local file.
//   bare_wininet PORT USER PASSWORD REMOTE_PATH SOURCE TARGET PIECE
// Prints "up_seconds=S pieces_up_seconds=S down_seconds=S"; any failure exits with 1.
#include <windows.h>
#include <wininet.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/win32/unique_handle.h"
#include "protocol/base64.h"
#include "stopwatch.h"

namespace {

using qbrk::UniqueFile;
using qbrk::UniqueInternet;

constexpr DWORD kBlock = 4096;
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;

int Fail(const char* step) {
  std::fprintf(stderr, "bare_wininet: %s failed (%lu)\n", step, GetLastError());
  return 1;
}

DWORD Status(HINTERNET request) {
  DWORD status = 0;
  DWORD size = sizeof(status);
  if (!HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                      nullptr))
    return 0;
  return status;
}

bool AddHeader(HINTERNET request, const std::string& line) {
  return HttpAddRequestHeadersA(request, line.c_str(), static_cast<DWORD>(line.size()),
                                HTTP_ADDREQ_FLAG_ADD | HTTP_ADDREQ_FLAG_REPLACE) != FALSE;
}

// One request whose body is `length` bytes of `file` from its current position, written in
// blocks; true when it is answered with one of the two statuses.
int SendBody(HINTERNET connection, const char* method, const char* path, const std::string& headers,
             HANDLE file, LONGLONG length, DWORD ok1, DWORD ok2) {
  UniqueInternet request(
      HttpOpenRequestA(connection, method, path, "HTTP/1.1", nullptr, nullptr, kFlags, 1));
  if (!request || !AddHeader(request.get(), headers)) return Fail("opening a request");
  INTERNET_BUFFERSA buffers{};
  buffers.dwStructSize = sizeof(buffers);
  buffers.dwBufferTotal = static_cast<DWORD>(length);
  if (!HttpSendRequestExA(request.get(), &buffers, nullptr, 0, 0)) return Fail("sending");
  char block[kBlock];
  for (LONGLONG left = length; left > 0;) {
    DWORD got = 0;
    const DWORD want = left < kBlock ? static_cast<DWORD>(left) : kBlock;
    if (!ReadFile(file, block, want, &got, nullptr) || got == 0) return Fail("reading the source");
    for (DWORD done = 0; done < got;) {
      DWORD written = 0;
      if (!InternetWriteFile(request.get(), block + done, got - done, &written) || written == 0)
        return Fail("writing");
      done += written;
    }
    left -= got;
  }
  if (!HttpEndRequestA(request.get(), nullptr, 0, 0)) return Fail("ending");
  const DWORD status = Status(request.get());
  if (status != ok1 && status != ok2) {
    std::fprintf(stderr, "bare_wininet: %s answered %lu\n", method, status);
    return 1;
  }
  return 0;
}

UniqueFile OpenSource(const char* source, LONGLONG* size) {
  UniqueFile file(CreateFileA(source, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER value;
  if (!file || !GetFileSizeEx(file.get(), &value)) return UniqueFile();
  *size = value.QuadPart;
  return file;
}

int Put(HINTERNET connection, const std::string& authorization, const char* path,
        const char* source, double* seconds) {
  const Stopwatch stopwatch;
  LONGLONG size = 0;
  UniqueFile file = OpenSource(source, &size);
  if (!file) return Fail("opening the source");
  if (int r = SendBody(connection, "PUT", path, authorization, file.get(), size, 201, 204))
    return r;
  *seconds = stopwatch.Seconds();
  return 0;
}

// The lock token of a LOCK answer's "Lock-Token: <token>" header, brackets included.
std::string LockToken(HINTERNET request) {
  char value[512] = "Lock-Token";
  DWORD size = sizeof(value);
  if (!HttpQueryInfoA(request, HTTP_QUERY_CUSTOM, value, &size, nullptr)) return "";
  return std::string(value, size);
}

int PutPieces(HINTERNET connection, const std::string& authorization, const char* path,
              const char* source, LONGLONG piece, double* seconds) {
  static const char kLockBody[] =
      "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:lockinfo xmlns:D=\"DAV:\"><D:lockscope>"
      "<D:exclusive/></D:lockscope><D:locktype><D:write/></D:locktype></D:lockinfo>";
  const std::string common = "Connection: close\r\n" + authorization;
  const Stopwatch stopwatch;
  LONGLONG size = 0;
  UniqueFile file = OpenSource(source, &size);
  if (!file) return Fail("opening the source");

  UniqueInternet lock(
      HttpOpenRequestA(connection, "LOCK", path, "HTTP/1.1", nullptr, nullptr, kFlags, 1));
  if (!lock || !AddHeader(lock.get(), common + "Timeout: Second-21600\r\nDepth: 0\r\n") ||
      !HttpSendRequestA(lock.get(), nullptr, 0, const_cast<char*>(kLockBody),
                        sizeof(kLockBody) - 1)) {
    return Fail("LOCK");
  }
  const std::string token = LockToken(lock.get());
  if (Status(lock.get()) != 200 || token.empty()) return Fail("reading the lock token");
  lock.reset();

  for (LONGLONG offset = 0; offset < size; offset += piece) {
    const LONGLONG length = size - offset < piece ? size - offset : piece;
    const std::string range = "Content-Range: bytes " + std::to_string(offset) + "-" +
                              std::to_string(offset + length - 1) + "/" + std::to_string(size) +
                              "\r\n";
    if (int r = SendBody(connection, "PUT", path, common + range + "If: (" + token + ")\r\n",
                         file.get(), length, 201, 204)) {
      return r;
    }
  }

  UniqueInternet unlock(
      HttpOpenRequestA(connection, "UNLOCK", path, "HTTP/1.1", nullptr, nullptr, kFlags, 1));
  if (!unlock || !AddHeader(unlock.get(), common + "Lock-Token: " + token + "\r\n") ||
      !HttpSendRequestA(unlock.get(), nullptr, 0, nullptr, 0) || Status(unlock.get()) != 204) {
    return Fail("UNLOCK");
  }
  *seconds = stopwatch.Seconds();
  return 0;
}

int Get(HINTERNET connection, const std::string& authorization, const char* path,
        const char* target, double* seconds) {
  const Stopwatch stopwatch;
  UniqueFile file(CreateFileA(target, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return Fail("creating the target");
  UniqueInternet request(
      HttpOpenRequestA(connection, "GET", path, "HTTP/1.1", nullptr, nullptr, kFlags, 1));
  if (!request || !AddHeader(request.get(), authorization)) return Fail("opening the GET");
  if (!HttpSendRequestA(request.get(), nullptr, 0, nullptr, 0)) return Fail("sending the GET");
  const DWORD status = Status(request.get());
  if (status != 200) {
    std::fprintf(stderr, "bare_wininet: GET answered %lu\n", status);
    return 1;
  }
  char block[kBlock];
  for (;;) {
    DWORD got = 0;
    if (!InternetReadFile(request.get(), block, kBlock, &got)) return Fail("reading the GET");
    if (got == 0) break;
    DWORD written = 0;
    if (!WriteFile(file.get(), block, got, &written, nullptr) || written != got)
      return Fail("writing the target");
  }
  *seconds = stopwatch.Seconds();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 8) {
    std::fprintf(stderr,
                 "usage: bare_wininet PORT USER PASSWORD REMOTE_PATH SOURCE TARGET PIECE\n");
    return 2;
  }
  const auto port = static_cast<INTERNET_PORT>(std::atoi(argv[1]));
  const std::string authorization =
      "Authorization: Basic " + qbrk::Base64Encode(std::string(argv[2]) + ":" + argv[3]) + "\r\n";
  UniqueInternet session(
      InternetOpenA("bare-wininet", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
  if (!session) return Fail("InternetOpenA");
  UniqueInternet connection(InternetConnectA(session.get(), "127.0.0.1", port, nullptr, nullptr,
                                             INTERNET_SERVICE_HTTP, 0, 0));
  if (!connection) return Fail("InternetConnectA");
  const LONGLONG piece = std::atoll(argv[7]);
  if (piece <= 0) return Fail("reading PIECE");
  double up = 0, pieces_up = 0, down = 0;
  if (int r = Put(connection.get(), authorization, argv[4], argv[5], &up)) return r;
  if (int r = PutPieces(connection.get(), authorization, argv[4], argv[5], piece, &pieces_up))
    return r;
  if (int r = Get(connection.get(), authorization, argv[4], argv[6], &down)) return r;
  std::printf("up_seconds=%.3f pieces_up_seconds=%.3f down_seconds=%.3f\n", up, pieces_up, down);
  return 0;
}
