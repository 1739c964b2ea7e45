// The world one simulated scenario runs in: the mirror folder on the in-memory file system,
// the user's disk in the in-memory model of the service, the record in the table file, and
// the transport between them, through which faults, crashes and the user's edits arrive.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/model_service.h"
#include "platform/memory/memory_http_transport.h"
#include "protocol/server_session.h"
#include "settings/twin_env.h"
#include "sync/sync_context.h"

namespace qbrk::sim {

inline constexpr char kMirror[] = "C:\\mirror";
inline constexpr char kDataFolder[] = "C:\\data";
inline constexpr char kTempFolder[] = "C:\\TEMP";
inline constexpr uint32_t kUploadUnit = 64;

// One entry of a side or of the record, by its path below the root ("a/b.txt", folders
// without a trailing slash). Local paths are given with their ASCII letters lower-cased, the
// form in which local and server names meet.
struct Entry {
  bool folder = false;
  std::string content;
  uint64_t time = 0;         // local: last-write time; server: last-modified (whole seconds)
  uint64_t server_time = 0;  // record only
  uint64_t size = 0;
};
using Tree = std::map<std::string, Entry>;

class World {
 public:
  World();
  ~World();

  testing::TwinEnv twin;
  MemoryHttpTransport http;
  model::ModelService model;
  // Called with every request before the service sees it; returns the service's answer.
  std::function<HandlerResponse(const HandlerRequest&)> on_request;

  // A session on the model, open and ready, as a connection leaves it.
  std::unique_ptr<ServerSession> OpenSession();
  // A context for one run through `session` (no dialog, no prompt yet).
  SyncContext Context(ServerSession& session);

  std::string LocalPath(const std::string& path) const;
  std::string TablePath() const;

  Tree LocalTree();          // every entry of the mirror folder, names lower-cased in ASCII
  Tree LocalTreeAsIs();      // the same with the names as stored
  Tree ServerTree();
  Tree RecordTree();         // empty when the table cannot be loaded
  // Everything outside the mirror folder but the table file and the temporary folder.
  std::map<std::string, std::string> Outside();
  // Files left in the temporary folder, the log file aside.
  size_t TempFiles();
  // The server paths (below the disk root) of the names the last runs logged as left out.
  std::vector<std::string> LeftOut();
};

}  // namespace qbrk::sim
