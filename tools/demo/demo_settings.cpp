#include "demo_settings.h"

#include <memory>

#include "settings/settings.h"

namespace qbrk::demo {

namespace {

// The library reads strings up to their terminator or their stored size; writing the
// terminator keeps the value readable by every other tool too.
bool WriteString(Registry& registry, const char* name, const std::string& text) {
  std::unique_ptr<RegistryKey> key;
  if (registry.CreateKey(RegistryRoot::kCurrentUser, kSettingsKey, &key) != 0) return false;
  return key->SetValue(name, reg_type::kString, reinterpret_cast<const uint8_t*>(text.c_str()),
                       static_cast<uint32_t>(text.size() + 1)) == 0;
}

}  // namespace

bool WriteDemoSettings(Registry& registry, Clock& clock, const DemoSettings& demo,
                       std::string* failed) {
  Settings settings(registry, clock);
  if (!WriteString(registry, "Domain", demo.host)) {
    *failed = "Domain";
    return false;
  }
  if (!settings.WriteDword("Port", demo.port)) {
    *failed = "Port";
    return false;
  }
  if (!settings.WriteDword("UseSSL", 0)) {
    *failed = "UseSSL";
    return false;
  }
  if (!settings.WriteMirror(demo.mirror)) {
    *failed = "Mirror";
    return false;
  }
  // The writer ignores a failed store, so the record is read back to know it is there.
  settings.WriteCredentials(CredentialKind::kService, demo.user, demo.password, true);
  Credentials back;
  if (!settings.ReadCredentials(CredentialKind::kService, &back) || back.user != demo.user ||
      back.password != demo.password) {
    *failed = "Info";
    return false;
  }
  return true;
}

}  // namespace qbrk::demo
