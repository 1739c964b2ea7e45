// What the model service keeps: the resources of one disk, its locks, the uploads in pieces
// under way, the quota and the clock. Shared by the methods; nothing here knows HTTP.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "common/file_time.h"
#include "model_service.h"
#include "model_text.h"

namespace qbrk::model {

class Resource {
 public:
  bool folder = false;
  std::string content;   // files
  uint64_t time = 0;     // FILETIME, whole seconds
  uint64_t version = 0;  // changes with the content or the time
  uint64_t size() const { return content.size(); }
  // Strong entity tag of a file.
  std::string ETag() const;
  // The time as an HTTP date; kept, since every listing writes it again.
  const std::string& Date() const;

 private:
  mutable std::string date_;
  mutable uint64_t date_of_ = 0;
};

// A file sent in pieces, gathered apart until its last piece arrives; it belongs to the lock
// it is sent under.
struct StagedUpload {
  std::string token;
  std::string rel;
  uint64_t total = 0;
  std::string bytes;  // what arrived so far; the next piece starts at its end
};

struct ModelState {
  ModelConfig config;
  std::string mail;          // the account's name, lower-cased
  std::string disk_path;     // "/~" + mail + "/file/"
  std::string disk_href[2];  // disk_path ready for a href, by Charset
  // The last Authorization header found right: the client sends the same on every request.
  std::string accepted_authorization;
  std::function<uint64_t()> clock;  // empty: `fixed_now`
  uint64_t fixed_now = 0;
  uint64_t now = 0;  // the clock's reading for the request in hand
  // Every resource by its path below the disk root; "" is the root folder.
  std::map<std::string, Resource, std::less<>> resources;
  // The emulator's lock table, all locks on the one disk (their user is `mail`), with
  // expiry in milliseconds since 1601 (NowMs).
  LockTable locks;
  std::vector<StagedUpload> staging;
  uint64_t used = 0;  // bytes of all files
  // PROPFIND bodies already read, and what they ask for.
  std::vector<std::pair<std::string, PropfindRequest>> propfind_bodies;
  uint64_t next_version = 1;
  uint64_t next_token = 1;

  // Reads the clock, cut to whole seconds as the service's times are; once per request, so
  // that one request sees one time.
  uint64_t ReadClock();
  uint64_t Now() const { return now; }
  int64_t NowMs() const { return static_cast<int64_t>(now / (kFileTimeTicksPerSecond / 1000)); }

  const Resource* Find(std::string_view rel) const;
  bool IsFile(std::string_view rel) const;
  bool IsFolder(std::string_view rel) const;
  // Names directly inside a folder, sorted byte-wise.
  std::vector<std::string> Children(std::string_view rel) const;
  // Bytes of all files at or below rel.
  uint64_t TreeBytes(std::string_view rel) const;
  // Whether replacing old_bytes by new_bytes stays within the quota.
  bool Fits(uint64_t old_bytes, uint64_t new_bytes) const;

  // Puts a file in place of what is at rel (never a folder) with the given time. Its folder
  // takes the clock's time when `touch_parent`, as a folder on disk does when a member
  // appears or goes.
  void InstallFile(const std::string& rel, std::string bytes, uint64_t time, bool touch_parent);
  void MakeFolder(const std::string& rel, uint64_t time, bool touch_parent);
  // Removes rel and everything below it, with the locks and uploads there.
  void RemoveTree(const std::string& rel, bool touch_parent);

  // Drops the locks that ran out, with the uploads made under them.
  void ExpireLocks();
  // A lock of this disk's account, expiring `seconds` from now.
  Lock NewLock(std::string rel, int64_t seconds);
  void DropUploads(std::string_view token);
  StagedUpload* FindUpload(std::string_view token, std::string_view rel);
};

}  // namespace qbrk::model
