// The state every request handler shares, guarded by one mutex.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include "accounts.h"
#include "config.h"
#include "core/faults.h"
#include "core/lock_table.h"
#include "property_store.h"
#include "publication_store.h"
#include "upload_staging.h"

namespace qbrk::emulator {

struct ServiceState {
  EmulatorConfig config;  // vfs_version and preferred_host change at run time
  std::string state_dir;  // <data>/.state: publications, staging and temporary files
  std::string temp_dir;
  std::string base_url;  // where the emulator is reachable, for public addresses

  std::mutex mu;  // guards everything below and every change to the disks
  AccountTable accounts;
  LockTable locks;
  UploadStaging staging;
  PublicationStore publications;
  PropertyStore properties;
  FaultTable faults;

  // Milliseconds of a monotonic clock that tests can move forward.
  int64_t NowMs() const;
  std::atomic<int64_t> clock_offset_ms{0};

  // Waits up to ms, returning early when the service stops.
  void Sleep(int64_t ms);
  void Stop();

  // Drops expired locks and the unfinished uploads made under them. Needs mu.
  void ExpireLocks();
  // Removes the locks, uploads, properties and publications at or below rel. Needs mu.
  void ForgetInside(const std::string& user, const std::string& rel);

  std::string PublicBase() const;

 private:
  std::mutex stop_mu_;
  std::condition_variable stop_cv_;
  bool stopping_ = false;
};

// Hex digits of bytes from the system's random source.
std::string RandomHex(size_t bytes);
std::string NewLockToken();

}  // namespace qbrk::emulator
