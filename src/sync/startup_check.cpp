#include "sync/startup_check.h"

#include "platform/clock.h"
#include "platform/host_window.h"
#include "settings/folders.h"
#include "settings/registry_values.h"
#include "settings/settings.h"
#include "sync/planning.h"
#include "sync/sync_table.h"

namespace qbrk {

namespace {
// The host is told the folder is in step only after the synchronize dialog's files have
// settled.
constexpr uint32_t kSettleMs = 500;
}  // namespace

int CheckLocalChanges(Env& env, const std::string& mirror_folder) {
  std::string table_path;
  SyncTable recorded(env);
  SyncTable local(env);
  SyncTable plan(env);
  // A record that cannot be read leaves the tree empty: every local file counts as new.
  if (TableFilePath(env, &table_path)) recorded.LoadTableFile(table_path);
  // A scan that breaks off leaves what it saw; the check works with that.
  std::string folder = mirror_folder;
  if (!folder.empty() && folder.back() == '\\') folder.pop_back();
  local.ScanLocalFolder(folder, "");
  if (PlanLocalSide(&local, &recorded, &plan) != result::kSuccess) return 1;
  return HasPendingWork(&plan) != 0 ? 1 : 0;
}

bool StartUpCheckEnabled(Env& env) {
  uint32_t value = 1;
  switch (ReadDwordValue(env.registry, RegistryRoot::kCurrentUser, kSettingsKey, "CheckBoot",
                         &value)) {
    case ValueRead::kOk: return value != 0;
    case ValueRead::kNoKey: return false;
    default: return true;
  }
}

void RunStartUpCheck(Env& env, const StartUpCheckUi& ui) {
  if (!StartUpCheckEnabled(env)) return;
  std::string mirror;
  if (!ResolveMirrorFolder(env, false, MirrorFolderRepair(), &mirror)) return;

  if (CheckLocalChanges(env, mirror) == 0) {
    if (ui.close_streams) ui.close_streams();
    env.host.PostCommand(IDC_HOST_SYNC_STATE, 1);
    return;
  }

  Settings settings(env.registry, env.clock);
  uint32_t check_boot = settings.CheckBoot();
  const bool yes = ui.confirm && ui.confirm(&check_boot);
  settings.WriteDword("CheckBoot", check_boot);
  if (!yes) {
    env.host.PostCommand(IDC_HOST_SYNC_STATE, 0);
    return;
  }
  if (ui.synchronize && ui.synchronize()) {
    if (ui.close_streams) ui.close_streams();
    env.clock.Sleep(kSettleMs);
    env.host.PostCommand(IDC_HOST_SYNC_STATE, 1);
  } else {
    env.host.PostCommand(IDC_HOST_SYNC_STATE, 0);
  }
}

}  // namespace qbrk
