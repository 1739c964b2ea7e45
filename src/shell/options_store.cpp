#include "shell/options_store.h"

#include "settings/settings.h"
#include "shell/startup_shortcut.h"

namespace qbrk {

void LoadOptions(Env& env, OptionsRecord* record) {
  Settings settings(env.registry, env.clock);
  OptionsRecord loaded;
  Credentials credentials;
  if (settings.ReadCredentials(CredentialKind::kService, &credentials)) {
    loaded.mail_address = credentials.user;
    loaded.remember_password = credentials.password_stored ? 1 : 0;
    if (credentials.password_stored) loaded.password = credentials.password;
  }
  loaded.check_boot = settings.CheckBoot();
  loaded.sync_notify = settings.SyncNotify();
  loaded.finish_close = settings.FinishClose();
  loaded.animation = settings.Animation();
  loaded.start_with_windows = StartupShortcutExists(env.shell, env.files) ? 1 : 0;
  loaded.put_unit = settings.PutUnit();
  loaded.use_ssl = settings.UseSsl();
  *record = std::move(loaded);
}

void StoreOptions(Env& env, const OptionsRecord& record) {
  Settings settings(env.registry, env.clock);
  settings.WriteCredentials(CredentialKind::kService, record.mail_address, record.password,
                            record.remember_password != 0);
  settings.WriteDword("SyncNotify", record.sync_notify);
  settings.WriteDword("CheckBoot", record.check_boot);
  settings.WriteDword("FinishClose", record.finish_close);
  settings.WriteDword("PutUnit", record.put_unit);
  settings.WriteDword("UseSSL", record.use_ssl);
  if (record.start_with_windows)
    CreateStartupShortcut(env.shell);
  else
    DeleteStartupShortcut(env.shell, env.files);
}

}  // namespace qbrk
