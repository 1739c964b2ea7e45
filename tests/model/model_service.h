// An in-memory model of the service's WebDAV behaviour as our client uses it: the fake server
// of the sync engine's randomized simulation.
//
// It serves one account's disk with the emulator's statuses, headers and bodies for every
// request our client sends (HEAD, GET, PROPFIND listings, lock discovery and quota, PROPPATCH
// of getlastmodified, MKCOL, PUT whole and in pieces under a lock, DELETE, LOCK, UNLOCK),
// without files, sockets or the real clock: new and replaced files take their time from a
// clock the test supplies, lock tokens are counted, so a run is deterministic and fast.
// tests/contract/model_*_contract.cpp hold it to the emulator. One thread at a time.
//
// Not modelled (answered 501): COPY, MOVE, dead properties, the publishing servlet and the
// public pages (404, as any path outside a disk). The whole request is taken at once, so a
// connection that breaks while the body is sent is the caller's to express: it does not call
// Handle (see model_faults.h).
//
// Paths in the direct access below are the raw bytes of the names below the disk root joined
// by "/" ("" is the root), as our client's names are (code page 932).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/memory/http_handler.h"

namespace qbrk::model {

// 2024-01-01 00:00:00 UTC, the clock's value until a test sets another.
inline constexpr uint64_t kDefaultNow = 133485408000000000ULL;

struct ModelConfig {
  std::string user = "taro@example.jp";  // the disk is "/~" + user + "/file/"
  std::string password = "secret";
  uint64_t quota = 5ULL << 30;  // above 4 GB, as the emulator's default
  // Sent in X-HV-VFS-Version; nothing omits the header.
  std::optional<std::string> vfs_version = std::string("2.0");
  // Answered in X-HV-PreferredHost to "X-HV-PreferredHost: *"; empty answers nothing.
  std::string preferred_host;
  int64_t max_lock_seconds = 7 * 24 * 3600;  // longest lock granted
};

// One resource of the tree as the direct access sees it.
struct TreeEntry {
  bool folder = false;
  std::string bytes;  // files
  uint64_t time = 0;  // FILETIME, whole seconds

  bool operator==(const TreeEntry&) const = default;
};
// Every resource below the disk root by its path, the root itself left out.
using Tree = std::map<std::string, TreeEntry>;

struct LockOptions {
  std::string owner = "someone-else@example.jp";  // the owner element's text
  int64_t seconds = 3600;
  bool infinite = false;  // depth infinity (on a folder: everything below it too)
  bool shared = false;
};

struct LockInfo {
  std::string path;
  std::string owner;  // as written in the owner element
  std::string token;
  bool infinite = false;
  bool shared = false;
  uint64_t expires = 0;  // FILETIME
};

struct ModelState;

class ModelService {
 public:
  explicit ModelService(ModelConfig config = {});
  ~ModelService();
  ModelService(const ModelService&) = delete;
  ModelService& operator=(const ModelService&) = delete;

  // One whole request, as MemoryHttpTransport hands it over; the answer carries its
  // Content-Length (a HEAD's body is empty). Never throws.
  HandlerResponse Handle(const HandlerRequest& request);
  // A handler for MemoryHttpTransport::set_handler.
  RequestHandler Handler();

  // --- Time ---
  // The clock: a FILETIME (100 ns since 1601, UTC), read once at every request for the times
  // of new and replaced files and for lock expiry. Cut to whole seconds.
  void set_clock(std::function<uint64_t()> clock);
  // A fixed time instead of a clock function.
  void set_now(uint64_t file_time);
  // A fixed time that many seconds after Now().
  void Advance(int64_t seconds);
  // Reads the clock.
  uint64_t Now() const;

  // --- Direct access for tests; none of these asks the locks or the quota ---
  // Creates or replaces a file; false when its folder does not exist or a folder is there.
  bool PutFile(const std::string& path, std::string bytes, uint64_t time);
  // The file's bytes and time, or nothing when there is no file.
  std::optional<TreeEntry> GetFile(const std::string& path) const;
  // False when something exists there or the parent folder does not.
  bool MakeFolder(const std::string& path, uint64_t time);
  // Removes a file or a folder with everything below it, and the locks there; false when
  // nothing is there or it is the root.
  bool Remove(const std::string& path);
  Tree List() const;

  // A lock held by someone else: its token, or "" when it clashes with a lock held.
  std::string HoldLock(const std::string& path, const LockOptions& options = {});
  std::vector<LockInfo> Locks() const;
  void ReleaseLocks();

  void set_quota(uint64_t bytes);
  uint64_t quota() const;
  uint64_t used() const;
  // "/~" + user + "/file/".
  std::string disk_root() const;
  const ModelConfig& config() const;
  void set_vfs_version(std::optional<std::string> version);
  void set_preferred_host(std::string host);

 private:
  std::unique_ptr<ModelState> state_;
};

}  // namespace qbrk::model
