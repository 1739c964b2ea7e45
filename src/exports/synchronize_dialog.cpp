#include "exports/synchronize_dialog.h"

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "dialogs/message_box.h"
#include "dialogs/progress_dialog.h"
#include "dialogs/report_error.h"
#include "platform/clock.h"
#include "platform/host_window.h"
#include "platform/win32/win32_net.h"
#include "sync/sync_job.h"

namespace qbrk {

namespace {
constexpr uint32_t kSettleMs = 500;

void RunJobOnWorker(Env& env, const std::shared_ptr<JobLink>& link,
                    const std::shared_ptr<ProgressJobText>& text) {
  // The link's end (when this goes) tells the dialog that the worker is done; it comes after
  // the job has freed everything and closed its connection.
  Win32DialogLink dialog(link);
  auto record = std::make_unique<JobRecord>();
  record->link = &dialog;
  record->error_name = &text->error_name;
  HWND window = link->window();
  ConnectionUi ui;
  ui.owner_window = reinterpret_cast<uintptr_t>(window);
  ui.report_error = [&env, window](ResultCode code) { ReportError(env, code, "", 0, window); };
  ui.message_box = [window](const std::string& body, const std::string& caption, uint32_t type) {
    return static_cast<int>(ShowMessageBox(body.c_str(), caption.c_str(), type, window));
  };
  RunSynchronizeJob(env, NetPlatform{Win32HttpTransport(), Win32DialUp()}, std::move(ui),
                    std::move(record));
}
}  // namespace

bool RunSynchronizeDialog(Env& env, HWND owner) {
  ProgressWorker worker = [&env](std::shared_ptr<JobLink> link,
                                 std::shared_ptr<ProgressJobText> text) {
    // Nothing may leave the worker's thread.
    try {
      RunJobOnWorker(env, link, text);
    } catch (...) {
    }
  };
  return !RunSyncProgressDialog(owner, std::move(worker));
}

void CloseRuntimeStreams() {
  _fcloseall();
}

void TellHostInStepAfterSync(Env& env) {
  CloseRuntimeStreams();
  env.clock.Sleep(kSettleMs);
  env.host.PostCommand(IDC_HOST_SYNC_STATE, 1);
}

}  // namespace qbrk
