#include "demo_settings.h"

#include "settings/registry_values.h"
#include "settings/settings.h"

namespace qbrk::demo {

bool WriteDemoSettings(Registry& registry, Clock& clock, const DemoSettings& demo,
                       std::string* failed) {
  Settings settings(registry, clock);
  const auto fail = [failed](const char* name) {
    *failed = name;
    return false;
  };
  // Stored with its terminator, so that every other tool reads it too.
  if (!WriteRegistryValue(registry, RegistryRoot::kCurrentUser, kSettingsKey, "Domain",
                          reg_type::kString, demo.host.c_str(), demo.host.size() + 1))
    return fail("Domain");
  if (!settings.WriteDword("Port", demo.port)) return fail("Port");
  if (!settings.WriteDword("UseSSL", 0)) return fail("UseSSL");
  if (!settings.WriteMirror(demo.mirror)) return fail("Mirror");
  // The writer ignores a failed store, so the record is read back to know it is there.
  settings.WriteCredentials(CredentialKind::kService, demo.user, demo.password, true);
  Credentials back;
  if (!settings.ReadCredentials(CredentialKind::kService, &back) || back.user != demo.user ||
      back.password != demo.password)
    return fail("Info");
  return true;
}

}  // namespace qbrk::demo
