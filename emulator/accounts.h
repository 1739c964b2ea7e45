// The accounts the emulator serves, their credentials and their quota.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config.h"
#include "disk_store.h"

namespace qbrk::emulator {

struct Account {
  std::string mail;  // lower-cased; also the user part of the disk path
  std::string password;
  uint64_t quota = 0;
  uint64_t used = 0;  // bytes of all files, kept up to date by every change
  DiskStore disk;

  uint64_t free() const { return used >= quota ? 0 : quota - used; }
  // Whether replacing old_bytes by new_bytes stays within the quota.
  bool Fits(uint64_t old_bytes, uint64_t new_bytes) const {
    return used - std::min(used, old_bytes) + new_bytes <= quota;
  }
};

class AccountTable {
 public:
  // Creates each account's disk folder below accounts_dir and measures its use.
  bool Init(const std::vector<AccountConfig>& accounts, uint64_t quota,
            const std::string& accounts_dir, std::string* error);

  // Mail addresses compare without regard to ASCII case; the client lower-cases them.
  Account* Find(std::string_view mail);
  // The account whose disk has exactly this user part, or none.
  Account* FindByDiskUser(std::string_view user);
  std::vector<std::unique_ptr<Account>>& all() { return accounts_; }

 private:
  std::vector<std::unique_ptr<Account>> accounts_;
};

}  // namespace qbrk::emulator
