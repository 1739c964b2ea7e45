// The settings store: every value of the user's key with its type, default and write-back
// rule. Nothing is cached: each access opens the key, reads or writes one value and closes
// it, so a value edited by hand takes effect at the next read. Readers never fail; they
// fall back to the value's default. Readers open the key for reading only; writers create
// it when it is missing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/clock.h"
#include "platform/registry.h"
#include "settings/lock_token_record.h"
#include "settings/registry_values.h"
#include "settings/sync_list_layout.h"

namespace qbrk {

inline constexpr char kSettingsKey[] = "SOFTWARE\\Halvorn\\Quellanbrook\\1.0";
inline constexpr char kHomePageKey[] = "Software\\Halvorn\\Common\\HomePageURL";
inline constexpr char kSetupFolderKey[] = "Software\\Halvorn\\Common\\SETUP\\Folder";
inline constexpr char kSetupFolderValue[] = "qbrkClientTool";

// Defaults of the DWORD values.
inline constexpr uint32_t kDefaultPutUnit = 524288;
inline constexpr uint32_t kDefaultPortSsl = 443;
inline constexpr uint32_t kDefaultPort = 80;
inline constexpr uint32_t kDefaultPutLog = 5;
inline constexpr uint32_t kDefaultTimeout = 900000;
inline constexpr uint32_t kDefaultLockTimeOut = 21600;

// "Mirror" holds a Windows path: at most 260 bytes with its terminator.
inline constexpr size_t kMaxPathBytes = 260;

// The stored default of "Suffix", kept without a terminator.
inline constexpr char kDefaultSuffix[] = "\"$$$\"";

// Which credential record: the service sign-in ("Info") or the proxy's ("ProxyInfo").
enum class CredentialKind { kService, kProxy };

// A credential record in plain form.
struct Credentials {
  std::string user;
  std::string password;
  bool password_stored = false;  // false: the record holds no password (offset 0xFFFFFFFF)
};

class Settings {
 public:
  // Credential records are scrambled with a seed from `clock`; without one, from time().
  explicit Settings(Registry& registry) : registry_(registry) {}
  Settings(Registry& registry, Clock& clock) : registry_(registry), clock_(&clock) {}

  // DWORD values: a missing, unreadable, mistyped or wrongly sized value reads as its
  // default. PutUnit, UseSSL and FinishClose store their default when the value is missing
  // (a damaged value is left for the user to see).
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
  // Root and PubServlet report failure in both cases. An empty or damaged value counts as
  // failure. `*out` changes only when a value was read.
  bool ReadDomain(std::string* host);
  bool ReadRoot(std::string* root);
  bool ReadPubServlet(std::string* path);

  // "Mirror" (at most 260 bytes with the terminator). ReadMirrorValue tells a missing value
  // from a damaged one (wrong type, too long), which the mirror-folder resolver must not
  // replace by the default folder.
  ValueRead ReadMirrorValue(std::string* path);
  bool ReadMirror(std::string* path) { return ReadMirrorValue(path) == ValueRead::kOk; }
  bool WriteMirror(const std::string& path);

  // "Info" / "ProxyInfo": false when the key or value is missing, the stored length is not
  // a multiple of 8, or the record cannot be unscrambled or read.
  bool ReadCredentials(CredentialKind kind, Credentials* out);
  // Builds, scrambles and stores the record; a write failure is ignored.
  void WriteCredentials(CredentialKind kind, const std::string& user, const std::string& password,
                        bool remember_password);

  // "LockToken": a lock left open by an interrupted upload.
  bool ReadLockToken(std::string* path, std::string* token);
  void WriteLockToken(const std::string& path, const std::string& token);
  bool DeleteLockToken();  // opens the key with write access; false when nothing was deleted

  // "SycLstDlg": fails unless exactly 52 bytes are read.
  bool ReadSyncListLayout(SyncListLayout* layout);
  void WriteSyncListLayout(const SyncListLayout& layout);

  // "Suffix" read into a buffer of `size` bytes (terminator included). When missing, the
  // default "\"$$$\"" is stored unterminated (5 bytes) and returned when `size` is above 5,
  // else "". A damaged value gives the default without being overwritten.
  std::string ReadSuffix(size_t size = 64);
  // The extension test: true when ("\"" + extension + "\""), lower-cased, occurs in the
  // lower-cased Suffix list. A name without a dot never matches.
  bool IsExcludedByExtension(const std::string& file_name);

  // Machine-wide values written by the installer; false when missing, empty or damaged.
  bool ReadHomePageUrl(const std::string& value_name, std::string* url);
  bool ReadSetupFolder(std::string* folder);

 private:
  uint32_t ReadDword(const char* name, uint32_t default_value, bool write_back);
  ValueRead ReadText(const char* name, std::string* text);

  Registry& registry_;
  Clock* clock_ = nullptr;
};

// The disk root: the Root value, else "/~" + user + "/file"; with `directory_form` a "/" is
// appended (unless the root already ends with one). False when neither a Root value nor a
// user name is available.
bool DiskRoot(Settings& settings, const std::string& user, bool directory_form, std::string* root);

}  // namespace qbrk
