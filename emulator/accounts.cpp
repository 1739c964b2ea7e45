#include "accounts.h"

#include "core/ascii_case.h"

namespace qbrk::emulator {

bool AccountTable::Init(const std::vector<AccountConfig>& accounts, uint64_t quota,
                        const std::string& accounts_dir, std::string* error) {
  for (const AccountConfig& config : accounts) {
    const std::string mail = LowerAscii(config.mail);
    if (mail.empty() || mail.find('/') != std::string::npos || mail == "." || mail == "..") {
      *error = "unusable account name: " + config.mail;
      return false;
    }
    if (Find(mail) != nullptr) {
      *error = "account given twice: " + config.mail;
      return false;
    }
    auto account = std::make_unique<Account>(
        Account{mail, config.password, quota, 0, DiskStore(accounts_dir + "/" + mail)});
    if (int err = MakeFolders(account->disk.root()); err != 0) {
      *error = "cannot create " + account->disk.root();
      return false;
    }
    account->used = account->disk.TreeBytes("");
    accounts_.push_back(std::move(account));
  }
  return true;
}

Account* AccountTable::Find(std::string_view mail) {
  for (auto& account : accounts_) {
    if (EqualsIgnoringAsciiCase(account->mail, mail)) return account.get();
  }
  return nullptr;
}

Account* AccountTable::FindByDiskUser(std::string_view user) {
  for (auto& account : accounts_) {
    if (account->mail == user) return account.get();
  }
  return nullptr;
}

}  // namespace qbrk::emulator
