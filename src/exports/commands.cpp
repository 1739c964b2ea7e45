#include "exports/commands.h"

#include <string>

#include "dialogs/message_box.h"
#include "dialogs/mirror_folder_dialog.h"
#include "dialogs/options/options_dialog.h"
#include "dialogs/report_error.h"
#include "dialogs/startup_confirmation.h"
#include "dialogs/sync_confirmation.h"
#include "exports/job_wait.h"
#include "exports/mirror_folder_path.h"
#include "exports/synchronize_dialog.h"
#include "platform/running_jobs.h"
#include "platform/win32/job_lock.h"
#include "settings/settings.h"
#include "shell/home_page.h"
#include "sync/startup_check.h"

namespace qbrk {

uint32_t InitLibrary() {
  InitJobLock();
  return 0;
}

uint32_t ShutDownLibrary(Env& env) {
  // Jobs that outlive the wait are not stopped; the lock goes either way, as the host is
  // about to unload the library.
  WaitForJobsToEnd(env.clock, RunningJobCount);
  DeleteJobLock();
  return 0;
}

uint32_t Synchronize(Env& env, HWND owner) {
  Settings settings(env.registry);
  if (settings.SyncNotify() != 0 && !ConfirmSynchronize(owner)) return 0;
  // Only a clean run puts the tray icon at rest; any other end leaves it as it was.
  if (RunSynchronizeDialog(env, owner)) TellHostInStepAfterSync(env);
  return 1;
}

uint32_t StartUpCheck(Env& env, HWND owner) {
  StartUpCheckUi ui;
  ui.confirm = [owner](uint32_t* check_boot) { return RunStartUpConfirmation(owner, check_boot); };
  ui.synchronize = [&env, owner] { return RunSynchronizeDialog(env, owner); };
  ui.close_streams = CloseRuntimeStreams;
  RunStartUpCheck(env, ui);
  return 0;
}

uint32_t ChangeMirrorFolder(Env& env, HWND owner) {
  return RunMirrorFolderDialog(env, owner, MirrorDialogMode::kCommand);
}

uint32_t MirrorFolderPath(Env& env, char* buffer, bool repair, HWND owner) {
  const MirrorFolderRepair ask_user = [&env, owner](const std::string& vanished) {
    ReportError(env, result::kMirrorOrCredentialsMissing, vanished, 0, owner);
    return RunMirrorFolderDialog(env, owner, MirrorDialogMode::kRepair) == 1;
  };
  return MirrorFolderPathIntoBuffer(env, buffer, repair, ask_user);
}

uint32_t OpenOptionsCommand(Env& env, HWND owner) {
  return OpenOptions(env, owner);
}

uint32_t TransferFiles(QbrkTransferItem**, uint32_t flags, HWND) {
  if ((flags & 1) == 0) return 0;
  // The file transfer dialog (6105) and its job are not in the library yet: nothing was
  // transferred.
  return 0;
}

uint32_t MessageBoxCommand(const char* text, const char* caption, uint32_t type, HWND owner) {
  return ShowMessageBox(text, caption, type, owner);
}

uint32_t ViewHomePageCommand(Env& env, const char* value_name) {
  if (!value_name) return 1;
  return ViewHomePage(env, value_name);
}

}  // namespace qbrk
