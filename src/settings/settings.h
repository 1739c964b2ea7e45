// The settings store: every value of the user's key with its type, default and write-back
// rule. Nothing is cached: each access opens the key, reads or writes one value and closes
// it, so a value edited by hand takes effect at the next read. Readers never fail; they
// fall back to the value's default.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/registry.h"

namespace qbrk {

inline constexpr char kSettingsKey[] = "SOFTWARE\\Halvorn\\Quellanbrook\\1.0";
inline constexpr char kHomePageKey[] = "Software\\Halvorn\\Common\\HomePageURL";
inline constexpr char kSetupFolderKey[] = "Software\\Halvorn\\Common\\SETUP\\Folder";

// Which credential record: the service sign-in ("Info") or the proxy's ("ProxyInfo").
enum class CredentialKind { kService, kProxy };

// A credential record in plain form.
struct Credentials {
  std::string user;
  std::string password;
  bool password_stored = false;  // false: the record holds no password (offset 0xFFFFFFFF)
};

// Size and column layout of the sync list dialog ("SycLstDlg", 13 signed 32-bit words).
struct SyncListLayout {
  int32_t version = 1;
  int32_t width = 0;
  int32_t height = 0;
  std::array<int32_t, 5> column_widths{};
  std::array<int32_t, 5> column_order{};
};

class Settings {
 public:
  explicit Settings(Registry& registry) : registry_(registry) {}

  // DWORD values. PutUnit, UseSSL and FinishClose store their default when missing.
  uint32_t PutUnit();      // 524288
  uint32_t UseSsl();       // 0
  uint32_t PortSsl();      // 443
  uint32_t Port();         // 80
  uint32_t PutLog();       // 5
  uint32_t Timeout();      // 900000 (milliseconds)
  uint32_t LockTimeOut();  // 21600 (seconds)
  uint32_t ServerCheck();  // 1
  uint32_t FinishClose();  // 0
  uint32_t SyncNotify();   // 1 (also for a zero-length read)
  uint32_t CheckBoot();    // 1
  uint32_t Animation();    // 1
  // Writes a DWORD value (creating the key); false when it could not be stored.
  bool WriteDword(const char* name, uint32_t value);

  // String values. Domain reports success when the key cannot be opened at all (the caller
  // keeps its built-in host) and failure only when the key opens but the value is missing;
  // Root and PubServlet report failure in both cases. A size of 0 counts as failure.
  bool ReadDomain(std::string* host);
  bool ReadRoot(std::string* root);
  bool ReadPubServlet(std::string* path);

  // "Mirror" (at most 260 bytes with the terminator).
  bool ReadMirror(std::string* path);
  bool WriteMirror(const std::string& path);

  // "Info" / "ProxyInfo": false when the key or value is missing or the stored length is
  // not a multiple of 8 (or the record cannot be unscrambled).
  bool ReadCredentials(CredentialKind kind, Credentials* out);
  // Builds, scrambles and stores the record; a write failure is ignored.
  void WriteCredentials(CredentialKind kind, const std::string& user,
                        const std::string& password, bool remember_password);

  // "LockToken": a lock left open by an interrupted upload.
  bool ReadLockToken(std::string* path, std::string* token);
  void WriteLockToken(const std::string& path, const std::string& token);
  bool DeleteLockToken();  // opens the key with write access

  // "SycLstDlg": fails unless exactly 52 bytes are read.
  bool ReadSyncListLayout(SyncListLayout* layout);
  void WriteSyncListLayout(const SyncListLayout& layout);

  // "Suffix" read into a buffer of `size` bytes; when missing, the default "\"$$$\"" is
  // stored unterminated (5 bytes) and copied out when `size` is above 5, else "".
  std::string ReadSuffix(size_t size = 64);
  // The extension test: true when ("\"" + extension + "\""), lower-cased, occurs in the
  // lower-cased Suffix list. A name without a dot never matches.
  bool IsExcludedByExtension(const std::string& file_name);

  // Machine-wide values written by the installer.
  bool ReadHomePageUrl(const std::string& value_name, std::string* url);
  bool ReadSetupFolder(std::string* folder);

 private:
  Registry& registry_;
};

// The disk root: the Root value, else "/~" + user + "/file"; with `directory_form` a "/" is
// appended. False when neither a Root value nor a user name is available.
bool DiskRoot(Settings& settings, const std::string& user, bool directory_form,
              std::string* root);

}  // namespace qbrk
