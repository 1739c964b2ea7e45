#include "settings/settings.h"

#include <ctime>
#include <memory>
#include <vector>

#include "settings/credential_record.h"
#include "settings/suffix_list.h"

namespace qbrk {

namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr RegistryRoot kMachine = RegistryRoot::kLocalMachine;

// Host names, server paths and URLs longer than this are treated as damage.
constexpr size_t kMaxTextBytes = 2048;
// Records of a 64-character address and a 15-character password need about 112 bytes.
constexpr size_t kMaxCredentialBytes = 4096;
// A server path of a few kilobytes and a lock token of a few dozen bytes.
constexpr size_t kMaxLockTokenBytes = 16384;

const char* CredentialValueName(CredentialKind kind) {
  return kind == CredentialKind::kProxy ? "ProxyInfo" : "Info";
}

bool WriteUserValue(Registry& registry, const char* name, uint32_t type, const void* data,
                    size_t size) {
  return WriteRegistryValue(registry, kUser, kSettingsKey, name, type, data, size);
}

}  // namespace

uint32_t Settings::ReadDword(const char* name, uint32_t default_value, bool write_back) {
  uint32_t value = default_value;
  const ValueRead state = ReadDwordValue(registry_, kUser, kSettingsKey, name, &value);
  if (state == ValueRead::kOk) return value;
  if (write_back && (state == ValueRead::kNoKey || state == ValueRead::kMissing))
    WriteDword(name, default_value);
  return default_value;
}

uint32_t Settings::PutUnit() {
  return ReadDword("PutUnit", kDefaultPutUnit, true);
}
uint32_t Settings::UseSsl() {
  return ReadDword("UseSSL", 0, true);
}
uint32_t Settings::PortSsl() {
  return ReadDword("PortSSL", kDefaultPortSsl, false);
}
uint32_t Settings::Port() {
  return ReadDword("Port", kDefaultPort, false);
}
uint32_t Settings::PutLog() {
  return ReadDword("PutLog", kDefaultPutLog, false);
}
uint32_t Settings::Timeout() {
  return ReadDword("Timeout", kDefaultTimeout, false);
}
uint32_t Settings::LockTimeOut() {
  return ReadDword("LockTimeOut", kDefaultLockTimeOut, false);
}
uint32_t Settings::ServerCheck() {
  return ReadDword("ServerCheck", 1, false);
}
uint32_t Settings::FinishClose() {
  return ReadDword("FinishClose", 0, true);
}
uint32_t Settings::SyncNotify() {
  return ReadDword("SyncNotify", 1, false);
}
uint32_t Settings::CheckBoot() {
  return ReadDword("CheckBoot", 1, false);
}
uint32_t Settings::Animation() {
  return ReadDword("Animation", 1, false);
}

bool Settings::WriteDword(const char* name, uint32_t value) {
  const uint8_t bytes[4] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                            static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
  return WriteUserValue(registry_, name, reg_type::kDword, bytes, sizeof(bytes));
}

ValueRead Settings::ReadText(const char* name, std::string* text) {
  std::string read;
  const ValueRead state =
      ReadStringValue(registry_, kUser, kSettingsKey, name, kMaxTextBytes, &read);
  if (state != ValueRead::kOk) return state;
  if (read.empty()) return ValueRead::kBadData;
  *text = std::move(read);
  return ValueRead::kOk;
}

bool Settings::ReadDomain(std::string* host) {
  // A key that cannot be opened means a fresh installation: the built-in host is right.
  const ValueRead state = ReadText("Domain", host);
  return state == ValueRead::kOk || state == ValueRead::kNoKey;
}

bool Settings::ReadRoot(std::string* root) {
  return ReadText("Root", root) == ValueRead::kOk;
}

bool Settings::ReadPubServlet(std::string* path) {
  return ReadText("PubServlet", path) == ValueRead::kOk;
}

ValueRead Settings::ReadMirrorValue(std::string* path) {
  return ReadStringValue(registry_, kUser, kSettingsKey, "Mirror", kMaxPathBytes - 1, path);
}

bool Settings::WriteMirror(const std::string& path) {
  if (path.size() + 1 > kMaxPathBytes) return false;
  return WriteUserValue(registry_, "Mirror", reg_type::kString, path.c_str(), path.size() + 1);
}

bool Settings::ReadCredentials(CredentialKind kind, Credentials* out) {
  std::vector<uint8_t> stored;
  if (ReadBinaryValue(registry_, kUser, kSettingsKey, CredentialValueName(kind),
                      kMaxCredentialBytes, &stored) != ValueRead::kOk)
    return false;
  std::vector<uint8_t> plain;
  return UnscrambleCredentialRecord(stored, &plain) && ParseCredentialRecord(plain, out);
}

void Settings::WriteCredentials(CredentialKind kind, const std::string& user,
                                const std::string& password, bool remember_password) {
  const int64_t now = clock_ ? clock_->UnixSeconds() : static_cast<int64_t>(std::time(nullptr));
  const std::vector<uint8_t> stored = ScrambleCredentialRecord(
      BuildCredentialRecord(user, password, remember_password), static_cast<uint32_t>(now));
  WriteUserValue(registry_, CredentialValueName(kind), reg_type::kBinary, stored.data(),
                 stored.size());
}

bool Settings::ReadLockToken(std::string* path, std::string* token) {
  std::vector<uint8_t> bytes;
  LockTokenRecord record;
  if (ReadBinaryValue(registry_, kUser, kSettingsKey, "LockToken", kMaxLockTokenBytes, &bytes) !=
          ValueRead::kOk ||
      !DecodeLockTokenRecord(bytes, &record))
    return false;
  *path = std::move(record.path);
  *token = std::move(record.token);
  return true;
}

void Settings::WriteLockToken(const std::string& path, const std::string& token) {
  const std::vector<uint8_t> bytes = EncodeLockTokenRecord({path, token});
  WriteUserValue(registry_, "LockToken", reg_type::kBinary, bytes.data(), bytes.size());
}

bool Settings::DeleteLockToken() {
  std::unique_ptr<RegistryKey> key;
  if (registry_.OpenKey(kUser, kSettingsKey, RegistryAccess::kWrite, &key) != sys_error::kSuccess ||
      !key)
    return false;
  return key->DeleteValue("LockToken") == sys_error::kSuccess;
}

bool Settings::ReadSyncListLayout(SyncListLayout* layout) {
  std::vector<uint8_t> bytes;
  return ReadBinaryValue(registry_, kUser, kSettingsKey, "SycLstDlg", kSyncListLayoutSize,
                         &bytes) == ValueRead::kOk &&
         DecodeSyncListLayout(bytes, layout);
}

void Settings::WriteSyncListLayout(const SyncListLayout& layout) {
  const std::vector<uint8_t> bytes = EncodeSyncListLayout(layout);
  WriteUserValue(registry_, "SycLstDlg", reg_type::kBinary, bytes.data(), bytes.size());
}

std::string Settings::ReadSuffix(size_t size) {
  if (size == 0) return {};
  std::string list;
  const ValueRead state =
      ReadStringValue(registry_, kUser, kSettingsKey, "Suffix", size - 1, &list);
  if (state == ValueRead::kOk) return list;
  constexpr size_t kDefaultLength = sizeof(kDefaultSuffix) - 1;
  // Stored without its terminator; every reader of the value terminates it itself.
  if (state == ValueRead::kNoKey || state == ValueRead::kMissing)
    WriteUserValue(registry_, "Suffix", reg_type::kString, kDefaultSuffix, kDefaultLength);
  return size > kDefaultLength ? std::string(kDefaultSuffix) : std::string();
}

bool Settings::IsExcludedByExtension(const std::string& file_name) {
  return SuffixListMatches(ReadSuffix(64), file_name);
}

bool Settings::ReadHomePageUrl(const std::string& value_name, std::string* url) {
  std::string read;
  if (ReadStringValue(registry_, kMachine, kHomePageKey, value_name, kMaxTextBytes, &read) !=
          ValueRead::kOk ||
      read.empty())
    return false;
  *url = std::move(read);
  return true;
}

bool Settings::ReadSetupFolder(std::string* folder) {
  std::string read;
  if (ReadStringValue(registry_, kMachine, kSetupFolderKey, kSetupFolderValue, kMaxPathBytes - 1,
                      &read) != ValueRead::kOk ||
      read.empty())
    return false;
  *folder = std::move(read);
  return true;
}

bool DiskRoot(Settings& settings, const std::string& user, bool directory_form, std::string* root) {
  std::string built;
  if (!settings.ReadRoot(&built)) {
    if (user.empty()) return false;
    built = "/~" + user + "/file";
  }
  if (directory_form && built.back() != '/') built += '/';
  *root = std::move(built);
  return true;
}

}  // namespace qbrk
