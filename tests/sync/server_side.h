// The server a sync scenario runs against, seen two ways: as the request handler the
// in-memory transport hands every request to, and as a tree the test can set up and read.
// The emulator of the service is one; the in-memory model of it is another.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/memory/memory_http_transport.h"

namespace qbrk::testing {

inline constexpr char kAccount[] = "taro@example.jp";
inline constexpr char kPassword[] = "secret";
inline constexpr char kDiskRoot[] = "/~taro@example.jp/file/";

// One resource of the user's disk. Paths are relative to the disk root, "/"-separated, in
// the raw bytes of the names; folders end with "/".
struct ServerItem {
  bool folder = false;
  std::string content;
  time_t modified = 0;  // whole seconds since 1970
};
using ServerTree = std::map<std::string, ServerItem>;

class ServerSide {
 public:
  virtual ~ServerSide() = default;
  virtual HandlerResponse Handle(const HandlerRequest& request) = 0;
  // Creates the file (and its missing folders) with `content` and the time `modified`.
  virtual void PutFile(const std::string& path, const std::string& content, time_t modified) = 0;
  virtual void MakeFolder(const std::string& path) = 0;
  // Removes a file or a folder with everything in it.
  virtual void Remove(const std::string& path) = 0;
  virtual ServerTree Tree() = 0;
};

// The emulator in process, on a data folder of its own under /tmp (removed at the end).
// Null in builds without the emulator.
std::unique_ptr<ServerSide> MakeEmulatorSide();
// The in-memory model of the service.
std::unique_ptr<ServerSide> MakeModelSide();

enum class ServerKind { kEmulator, kModel };
std::unique_ptr<ServerSide> MakeServerSide(ServerKind kind);
// The kinds this build can run: both, or the model alone.
std::vector<ServerKind> AvailableServerKinds();
std::string ServerKindName(ServerKind kind);

}  // namespace qbrk::testing
