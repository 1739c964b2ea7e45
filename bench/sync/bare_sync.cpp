// The peer of the synchronize benchmark: the least a WinINet client can do to put a local
// tree on the service the way the library's first synchronization does. It sends the same
// requests with the same headers and bodies: per folder a MKCOL, then per file a PUT of its
// bytes (in 4096-byte blocks) and the PROPPATCH that gives it the local file's time, each on
// a connection of its own ("Connection: close"). It keeps no record, lists nothing and asks
// nothing: what it costs is the platform's floor for those requests.
//   bare_sync PORT USER PASSWORD REMOTE_FOLDER LOCAL_FOLDER
// REMOTE_FOLDER (e.g. /~user/file/bare/) must exist. Prints "seconds=S folders=N files=N";
// any failure exits with 1.
#include <windows.h>
#include <wininet.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/win32/unique_handle.h"
#include "protocol/base64.h"
#include "protocol/http_date.h"
#include "transfer/stopwatch.h"

namespace {

using qbrk::UniqueFile;
using qbrk::UniqueFind;
using qbrk::UniqueInternet;

constexpr DWORD kBlock = 4096;
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;
// A tree deeper than this is not what the benchmark makes.
constexpr int kMaxDepth = 16;

struct Counts {
  int folders = 0;
  int files = 0;
};

class BareSync {
 public:
  BareSync(HINTERNET connection, const std::string& user, const std::string& password)
      : connection_(connection),
        headers_(
            "Accept-Charset: Shift_JIS\r\nCache-Control: no-store\r\nPragma: no-cache\r\n"
            "Connection: close\r\nAuthorization: Basic " +
            qbrk::Base64Encode(user + ":" + password) + "\r\n") {}

  // Puts every folder and file below `local` (a Windows path without the trailing
  // backslash) under `remote` (ending in "/").
  bool Tree(const std::string& local, const std::string& remote, int depth, Counts* counts) {
    if (depth > kMaxDepth) return Fail("walking the tree (too deep)");
    WIN32_FIND_DATAA found;
    UniqueFind find(FindFirstFileA((local + "\\*").c_str(), &found));
    if (!find) return Fail("listing a local folder");
    do {
      const std::string name = found.cFileName;
      if (name == "." || name == "..") continue;
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        const std::string folder = remote + name + "/";
        if (!Exchange("MKCOL", folder, 201)) return false;
        ++counts->folders;
        if (!Tree(local + "\\" + name, folder, depth + 1, counts)) return false;
      } else {
        const std::string path = remote + name;
        if (!Put(local + "\\" + name, path)) return false;
        if (!SetTime(found.ftLastWriteTime, path)) return false;
        ++counts->files;
      }
    } while (FindNextFileA(find.get(), &found));
    return GetLastError() == ERROR_NO_MORE_FILES || Fail("listing a local folder");
  }

 private:
  static bool Fail(const char* step) {
    std::fprintf(stderr, "bare_sync: %s failed (%lu)\n", step, GetLastError());
    return false;
  }

  UniqueInternet Open(const char* method, const std::string& path) {
    UniqueInternet request(HttpOpenRequestA(connection_, method, path.c_str(), "HTTP/1.1", nullptr,
                                            nullptr, kFlags, 1));
    if (request && !HttpAddRequestHeadersA(request.get(), headers_.c_str(),
                                           static_cast<DWORD>(headers_.size()),
                                           HTTP_ADDREQ_FLAG_ADD | HTTP_ADDREQ_FLAG_REPLACE)) {
      request.reset();
    }
    return request;
  }

  static bool Answered(HINTERNET request, const char* method, DWORD expected) {
    DWORD status = 0;
    DWORD size = sizeof(status);
    if (!HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                        nullptr)) {
      return Fail("reading the status");
    }
    if (status == expected) return true;
    std::fprintf(stderr, "bare_sync: %s answered %lu\n", method, status);
    return false;
  }

  // A request without a body.
  bool Exchange(const char* method, const std::string& path, DWORD expected) {
    UniqueInternet request = Open(method, path);
    if (!request || !HttpSendRequestA(request.get(), nullptr, 0, nullptr, 0)) return Fail(method);
    return Answered(request.get(), method, expected);
  }

  // Opens a request whose body of `length` bytes follows in Write calls.
  UniqueInternet BeginBody(const char* method, const std::string& path, LONGLONG length) {
    UniqueInternet request = Open(method, path);
    // As the library frames an empty body.
    if (request && length == 0 &&
        !HttpAddRequestHeadersA(request.get(), "Content-Length: 0", static_cast<DWORD>(-1),
                                HTTP_ADDREQ_FLAG_ADD | HTTP_ADDREQ_FLAG_REPLACE)) {
      request.reset();
    }
    INTERNET_BUFFERSA buffers{};
    buffers.dwStructSize = sizeof(buffers);
    buffers.dwBufferTotal = static_cast<DWORD>(length);
    if (request && !HttpSendRequestExA(request.get(), &buffers, nullptr, 0, 0)) request.reset();
    if (!request) Fail(method);
    return request;
  }

  static bool Write(HINTERNET request, const char* data, DWORD size) {
    for (DWORD done = 0; done < size;) {
      DWORD written = 0;
      if (!InternetWriteFile(request, data + done, size - done, &written) || written == 0)
        return Fail("writing a body");
      done += written;
    }
    return true;
  }

  static bool EndBody(HINTERNET request, const char* method, DWORD expected) {
    if (!HttpEndRequestA(request, nullptr, 0, 0)) return Fail(method);
    return Answered(request, method, expected);
  }

  bool Put(const std::string& local, const std::string& path) {
    UniqueFile file(CreateFileA(local.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size;
    if (!file || !GetFileSizeEx(file.get(), &size)) return Fail("opening a local file");
    UniqueInternet request = BeginBody("PUT", path, size.QuadPart);
    if (!request) return false;
    char block[kBlock];
    for (LONGLONG left = size.QuadPart; left > 0;) {
      DWORD got = 0;
      const DWORD want = left < kBlock ? static_cast<DWORD>(left) : kBlock;
      if (!ReadFile(file.get(), block, want, &got, nullptr) || got == 0)
        return Fail("reading a local file");
      if (!Write(request.get(), block, got)) return false;
      left -= got;
    }
    return EndBody(request.get(), "PUT", 201);
  }

  bool SetTime(const FILETIME& time, const std::string& path) {
    std::string date;
    const uint64_t value = (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    if (!qbrk::FormatHttpDate(value, &date)) return Fail("formatting a time");
    const std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
        "<D:propertyupdate xmlns:D=\"DAV:\"><D:set><D:prop><D:getlastmodified>" +
        date + "</D:getlastmodified></D:prop></D:set></D:propertyupdate>";
    UniqueInternet request = BeginBody("PROPPATCH", path, static_cast<LONGLONG>(body.size()));
    return request && Write(request.get(), body.data(), static_cast<DWORD>(body.size())) &&
           EndBody(request.get(), "PROPPATCH", 207);
  }

  HINTERNET connection_;
  std::string headers_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "usage: bare_sync PORT USER PASSWORD REMOTE_FOLDER LOCAL_FOLDER\n");
    return 2;
  }
  const auto port = static_cast<INTERNET_PORT>(std::atoi(argv[1]));
  UniqueInternet session(
      InternetOpenA("bare-sync", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
  if (!session) return 1;
  UniqueInternet connection(InternetConnectA(session.get(), "127.0.0.1", port, nullptr, nullptr,
                                             INTERNET_SERVICE_HTTP, 0, 0));
  if (!connection) return 1;
  std::string remote = argv[4];
  if (remote.empty() || remote.back() != '/') remote += '/';
  BareSync sync(connection.get(), argv[2], argv[3]);
  Counts counts;
  const Stopwatch stopwatch;
  if (!sync.Tree(argv[5], remote, 0, &counts)) return 1;
  std::printf("seconds=%.3f folders=%d files=%d\n", stopwatch.Seconds(), counts.folders,
              counts.files);
  return 0;
}
