// The peer of the transfer benchmark: the least a client can do with WinINet to move a file.
// One PUT of the whole file written in 4096-byte blocks, then one GET read in 4096-byte
// blocks into a local file, with only the headers the service needs (Basic authorization).
//   bare_wininet PORT USER PASSWORD REMOTE_PATH SOURCE TARGET
// Prints "up_seconds=S down_seconds=S" on success; any failure exits with 1 and a reason.
#include <windows.h>
#include <wininet.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/win32/unique_handle.h"

namespace {

using qbrk::UniqueFile;
using qbrk::UniqueInternet;

constexpr DWORD kBlock = 4096;
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;

int Fail(const char* step) {
  std::fprintf(stderr, "bare_wininet: %s failed (%lu)\n", step, GetLastError());
  return 1;
}

std::string Base64(const std::string& in) {
  static const char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (size_t i = 0; i < in.size(); i += 3) {
    const size_t n = in.size() - i < 3 ? in.size() - i : 3;
    unsigned v = 0;
    for (size_t k = 0; k < 3; ++k)
      v = (v << 8) | (k < n ? static_cast<unsigned char>(in[i + k]) : 0u);
    out += kAlphabet[(v >> 18) & 63];
    out += kAlphabet[(v >> 12) & 63];
    out += n > 1 ? kAlphabet[(v >> 6) & 63] : '=';
    out += n > 2 ? kAlphabet[v & 63] : '=';
  }
  return out;
}

double Seconds(LARGE_INTEGER start) {
  LARGE_INTEGER now, frequency;
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(now.QuadPart - start.QuadPart) / frequency.QuadPart;
}

DWORD Status(HINTERNET request) {
  DWORD status = 0;
  DWORD size = sizeof(status);
  if (!HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                      nullptr))
    return 0;
  return status;
}

bool AddAuthorization(HINTERNET request, const std::string& line) {
  return HttpAddRequestHeadersA(request, line.c_str(), static_cast<DWORD>(line.size()),
                                HTTP_ADDREQ_FLAG_ADD | HTTP_ADDREQ_FLAG_REPLACE) != FALSE;
}

int Put(HINTERNET connection, const std::string& authorization, const char* path,
        const char* source, double* seconds) {
  LARGE_INTEGER start;
  QueryPerformanceCounter(&start);
  UniqueFile file(CreateFileA(source, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size;
  if (!file || !GetFileSizeEx(file.get(), &size)) return Fail("opening the source");
  UniqueInternet request(
      HttpOpenRequestA(connection, "PUT", path, "HTTP/1.1", nullptr, nullptr, kFlags, 1));
  if (!request || !AddAuthorization(request.get(), authorization)) return Fail("opening the PUT");
  INTERNET_BUFFERSA buffers{};
  buffers.dwStructSize = sizeof(buffers);
  buffers.dwBufferTotal = static_cast<DWORD>(size.QuadPart);
  if (!HttpSendRequestExA(request.get(), &buffers, nullptr, 0, 0)) return Fail("sending the PUT");
  char block[kBlock];
  for (LONGLONG left = size.QuadPart; left > 0;) {
    DWORD got = 0;
    if (!ReadFile(file.get(), block, kBlock, &got, nullptr) || got == 0)
      return Fail("reading the source");
    for (DWORD done = 0; done < got;) {
      DWORD written = 0;
      if (!InternetWriteFile(request.get(), block + done, got - done, &written) || written == 0)
        return Fail("writing the PUT");
      done += written;
    }
    left -= got;
  }
  if (!HttpEndRequestA(request.get(), nullptr, 0, 0)) return Fail("ending the PUT");
  const DWORD status = Status(request.get());
  if (status != 201 && status != 204) {
    std::fprintf(stderr, "bare_wininet: PUT answered %lu\n", status);
    return 1;
  }
  *seconds = Seconds(start);
  return 0;
}

int Get(HINTERNET connection, const std::string& authorization, const char* path,
        const char* target, double* seconds) {
  LARGE_INTEGER start;
  QueryPerformanceCounter(&start);
  UniqueFile file(CreateFileA(target, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return Fail("creating the target");
  UniqueInternet request(
      HttpOpenRequestA(connection, "GET", path, "HTTP/1.1", nullptr, nullptr, kFlags, 1));
  if (!request || !AddAuthorization(request.get(), authorization)) return Fail("opening the GET");
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
  *seconds = Seconds(start);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) {
    std::fprintf(stderr, "usage: bare_wininet PORT USER PASSWORD REMOTE_PATH SOURCE TARGET\n");
    return 2;
  }
  const auto port = static_cast<INTERNET_PORT>(std::atoi(argv[1]));
  const std::string authorization =
      "Authorization: Basic " + Base64(std::string(argv[2]) + ":" + argv[3]) + "\r\n";
  UniqueInternet session(
      InternetOpenA("bare-wininet", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
  if (!session) return Fail("InternetOpenA");
  UniqueInternet connection(InternetConnectA(session.get(), "127.0.0.1", port, nullptr, nullptr,
                                             INTERNET_SERVICE_HTTP, 0, 0));
  if (!connection) return Fail("InternetConnectA");
  double up = 0, down = 0;
  if (int r = Put(connection.get(), authorization, argv[4], argv[5], &up)) return r;
  if (int r = Get(connection.get(), authorization, argv[4], argv[6], &down)) return r;
  std::printf("up_seconds=%.3f down_seconds=%.3f\n", up, down);
  return 0;
}
