// Everything the emulator is told at start.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "protocol/service.h"

namespace qbrk::emulator {

inline constexpr uint64_t kDefaultQuotaBytes = 5ull << 30;  // 5 GiB: above 4 GB on purpose
inline constexpr int64_t kDefaultMaxLockSeconds = 7 * 24 * 3600;

struct AccountConfig {
  std::string mail;
  std::string password;
};

struct EmulatorConfig {
  std::string data_dir;
  std::string listen_host = "127.0.0.1";
  uint16_t listen_port = 0;
  std::vector<AccountConfig> accounts;
  uint64_t quota_bytes = kDefaultQuotaBytes;
  // Sent in X-HV-VFS-Version; nothing omits the header.
  std::optional<std::string> vfs_version = std::string("2.0");
  // Answered to "X-HV-PreferredHost: *"; empty answers nothing.
  std::string preferred_host;
  std::string servlet_path = kDefaultPublishServlet;
  // Base of the public addresses; empty uses the emulator's own address.
  std::string public_base;
  int64_t max_lock_seconds = kDefaultMaxLockSeconds;
  bool log_requests = false;
  bool control = false;
  // HTTPS: a certificate generated into the data folder, or the given files.
  bool tls = false;
  std::string cert_file;
  std::string key_file;
  // Fault rules and held locks to install at start, in the control endpoint's text form.
  std::vector<std::string> faults;
  std::vector<std::string> held_locks;
};

}  // namespace qbrk::emulator
