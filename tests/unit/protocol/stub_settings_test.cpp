// Stand-ins for the settings store, the error log and the trace writer, whose own
// implementation is being written on another branch. They keep the declared behaviour the
// protocol tests rely on (defaults, records in the registry, log lines and trace blocks in
// the current log file). Delete this file once the real implementation is on main.
#include <cstdio>
#include <cstring>
#include <memory>

#include "diag/error_log.h"
#include "diag/trace_log.h"
#include "settings/settings.h"

namespace qbrk {

namespace {

uint32_t g_logging_level = 0;

std::unique_ptr<RegistryKey> OpenRead(Registry& registry) {
  std::unique_ptr<RegistryKey> key;
  if (registry.OpenKey(RegistryRoot::kCurrentUser, kSettingsKey, RegistryAccess::kRead, &key))
    return nullptr;
  return key;
}

bool ReadBytes(Registry& registry, const char* name, std::string* out) {
  auto key = OpenRead(registry);
  uint32_t size = 0;
  if (!key || key->QueryValue(name, nullptr, nullptr, &size)) return false;
  out->assign(size, '\0');
  return key->QueryValue(name, nullptr, reinterpret_cast<uint8_t*>(out->data()), &size) == 0;
}

void WriteBytes(Registry& registry, const char* name, uint32_t type, const std::string& data) {
  std::unique_ptr<RegistryKey> key;
  if (registry.CreateKey(RegistryRoot::kCurrentUser, kSettingsKey, &key)) return;
  key->SetValue(name, type, reinterpret_cast<const uint8_t*>(data.data()),
                static_cast<uint32_t>(data.size()));
}

uint32_t Dword(Registry& registry, const char* name, uint32_t fallback) {
  std::string bytes;
  if (!ReadBytes(registry, name, &bytes) || bytes.size() != 4) return fallback;
  uint32_t v;
  std::memcpy(&v, bytes.data(), 4);
  return v;
}

bool ReadString(Registry& registry, const char* name, std::string* out) {
  std::string bytes;
  if (!ReadBytes(registry, name, &bytes) || bytes.empty()) return false;
  *out = bytes.substr(0, bytes.find('\0'));
  return true;
}

std::string Le32(uint32_t v) {
  return std::string(reinterpret_cast<const char*>(&v), 4);
}

std::string CurrentLog(FileSystem& files) {
  std::string folder;
  if (files.TempFolder(&folder)) return std::string();
  return folder + "HVQbrook00.log";
}

void Append(FileSystem& files, const std::string& text) {
  std::unique_ptr<File> file;
  if (files.OpenFile(CurrentLog(files), file_access::kWrite, file_share::kRead,
                     Disposition::kOpenExisting, &file))
    return;
  file->Seek(0, SeekOrigin::kEnd, nullptr);
  file->Write(text.data(), static_cast<uint32_t>(text.size()));
}

}  // namespace

uint32_t Settings::PutUnit() {
  return Dword(registry_, "PutUnit", 524288);
}
uint32_t Settings::UseSsl() {
  return Dword(registry_, "UseSSL", 0);
}
uint32_t Settings::PortSsl() {
  return Dword(registry_, "PortSSL", 443);
}
uint32_t Settings::Port() {
  return Dword(registry_, "Port", 80);
}
uint32_t Settings::PutLog() {
  return Dword(registry_, "PutLog", 5);
}
uint32_t Settings::Timeout() {
  return Dword(registry_, "Timeout", 900000);
}
uint32_t Settings::LockTimeOut() {
  return Dword(registry_, "LockTimeOut", 21600);
}
uint32_t Settings::ServerCheck() {
  return Dword(registry_, "ServerCheck", 1);
}

bool Settings::ReadDomain(std::string* host) {
  if (!OpenRead(registry_)) return true;
  return ReadString(registry_, "Domain", host);
}
bool Settings::ReadRoot(std::string* root) {
  return ReadString(registry_, "Root", root);
}
bool Settings::ReadPubServlet(std::string* path) {
  return ReadString(registry_, "PubServlet", path);
}

// Plain layout: padded to a multiple of 8, never scrambled.
bool Settings::ReadCredentials(CredentialKind kind, Credentials* out) {
  std::string bytes;
  const char* name = kind == CredentialKind::kService ? "Info" : "ProxyInfo";
  if (!ReadBytes(registry_, name, &bytes) || bytes.size() % 8 != 0 || bytes.size() < 8)
    return false;
  const size_t user_end = bytes.find('\0', 1);
  if (user_end == std::string::npos) return false;
  out->password_stored = bytes[0] == '1';
  out->user = bytes.substr(1, user_end - 1);
  const size_t pass_end = bytes.find('\0', user_end + 1);
  out->password = out->password_stored && pass_end != std::string::npos
                      ? bytes.substr(user_end + 1, pass_end - user_end - 1)
                      : std::string();
  return true;
}

void Settings::WriteCredentials(CredentialKind kind, const std::string& user,
                                const std::string& password, bool remember_password) {
  std::string bytes = std::string(remember_password ? "1" : "0") + user + '\0' +
                      (remember_password ? password : std::string()) + '\0';
  bytes.resize((bytes.size() + 7) / 8 * 8, '\0');
  WriteBytes(registry_, kind == CredentialKind::kService ? "Info" : "ProxyInfo", reg_type::kBinary,
             bytes);
}

bool Settings::ReadLockToken(std::string* path, std::string* token) {
  std::string bytes;
  if (!ReadBytes(registry_, "LockToken", &bytes) || bytes.size() < 8) return false;
  uint32_t l1, l2;
  std::memcpy(&l1, bytes.data(), 4);
  if (l1 > bytes.size() - 8) return false;
  std::memcpy(&l2, bytes.data() + 4 + l1, 4);
  if (l1 + l2 + 8 != bytes.size()) return false;
  *path = bytes.substr(4, l1);
  *token = bytes.substr(8 + l1, l2);
  return true;
}

void Settings::WriteLockToken(const std::string& path, const std::string& token) {
  WriteBytes(registry_, "LockToken", reg_type::kBinary,
             Le32(static_cast<uint32_t>(path.size())) + path +
                 Le32(static_cast<uint32_t>(token.size())) + token);
}

bool Settings::DeleteLockToken() {
  std::unique_ptr<RegistryKey> key;
  if (registry_.OpenKey(RegistryRoot::kCurrentUser, kSettingsKey, RegistryAccess::kWrite, &key))
    return false;
  return key->DeleteValue("LockToken") == 0;
}

bool DiskRoot(Settings& settings, const std::string& user, bool directory_form, std::string* root) {
  if (!settings.ReadRoot(root)) {
    if (user.empty()) return false;
    *root = "/~" + user + "/file";
  }
  if (directory_form) *root += "/";
  return true;
}

uint32_t LoggingLevel() {
  return g_logging_level;
}
void SetLoggingLevel(uint32_t level) {
  g_logging_level = level;
}

std::string LogTimeStamp(const CalendarTime& t) {
  static const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  char line[64];
  std::snprintf(line, sizeof line, "%d/%s/%d:%d:%d:%d +0900", t.day,
                t.month >= 1 && t.month <= 12 ? kMonths[t.month - 1] : "", t.year, t.hour, t.minute,
                t.second);
  return line;
}

bool WriteLogLine(FileSystem& files, Clock& clock, uint32_t number, LogKind kind) {
  Append(files, "\"" + LogTimeStamp(clock.LocalNow()) + "\" \"" +
                    (kind == LogKind::kError ? "ERROR" : "EXCEPTION") + "\" " +
                    std::to_string(number) + "\r\n");
  return true;
}

void WriteTraceExchange(FileSystem& files, Clock& clock, const std::string& raw_request_headers,
                        const std::string& raw_response_headers) {
  const std::string bar(30, '-');
  Append(files, "\"" + LogTimeStamp(clock.LocalNow()) + "\"\r\n" + bar + " Request " + bar +
                    "\r\n" + raw_request_headers + bar + " Response " + bar + "\r\n" +
                    raw_response_headers);
}

}  // namespace qbrk
