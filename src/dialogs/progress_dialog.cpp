#include "dialogs/progress_dialog.h"

// After <windows.h>, which it depends on.
#include <commctrl.h>

#include <thread>

#include "common/result_code.h"
#include "dialogs/choice_dialogs.h"
#include "dialogs/dialog_requests.h"
#include "dialogs/progress_figures.h"
#include "dialogs/progress_status.h"
#include "dialogs/report_error.h"
#include "platform/win32/own_module.h"
#include "platform/win32/win32_env.h"
#include "resource_ids.h"
#include "settings/settings.h"
#include "sync/sync_statistics.h"

namespace qbrk {

namespace {

// What the worker posts (wParam, lParam as noted).
namespace job_message {
constexpr UINT kBeginTransfer = WM_USER + 51;   // -
constexpr UINT kCompleted = WM_USER + 52;       // -
constexpr UINT kTotals = WM_USER + 53;          // SyncStatistics*
constexpr UINT kErrorEnd = WM_USER + 54;        // result code
constexpr UINT kUploaded = WM_USER + 55;        // bytes
constexpr UINT kDownloaded = WM_USER + 56;      // bytes
constexpr UINT kStatus = WM_USER + 59;          // status index
constexpr UINT kFolderMissing = WM_USER + 60;   // text, answer word
constexpr UINT kOptions = WM_USER + 61;         // OptionsRecord*, answer word
constexpr UINT kDeletedLocally = WM_USER + 62;  // name, answer word
constexpr UINT kDeletedOnServer = WM_USER + 63;
constexpr UINT kConflict = WM_USER + 64;
constexpr UINT kSignIn = WM_USER + 66;  // SignInRecord*, answer word
}  // namespace job_message

constexpr UINT_PTR kAnimationTimer = 1;
constexpr UINT kAnimationPeriodMs = 500;
// The fourth frame repeats the third.
constexpr int kFrameIcons[4] = {IDI_QBRK_SYNC_FRAME1, IDI_QBRK_SYNC_FRAME2, IDI_QBRK_SYNC_FRAME3,
                                IDI_QBRK_SYNC_FRAME3};
constexpr char kFinishCloseValue[] = "FinishClose";

// The transfer dialog's options word.
constexpr uint32_t kTransferReportErrors = 0x2;
constexpr uint32_t kTransferCloseWhenDone = 0x4;

struct ProgressRun {
  ProgressRun(ProgressKind k, uint32_t o, ProgressWorker w)
      : kind(k), options(o), worker(std::move(w)), engine(k == ProgressKind::kSynchronize) {}

  bool synchronize() const { return kind == ProgressKind::kSynchronize; }

  ProgressKind kind;
  uint32_t options;  // transfer dialog only
  ProgressWorker worker;
  std::shared_ptr<ProgressJobText> text = std::make_shared<ProgressJobText>();
  ProgressEngine engine;
  JobDialogEndpoint endpoint;
  uint32_t frame = 0;
  bool failed = false;
  bool finished = false;
  bool draining = false;  // handling what was left queued when the dialog went away
};

Settings UserSettings() {
  return Settings(Win32Env().registry);
}

void ShowIcon(HWND dialog, int icon) {
  SendDlgItemMessageA(dialog, IDC_PROGRESS_ICON, STM_SETICON,
                      reinterpret_cast<WPARAM>(LoadIconA(OwnModule(), MAKEINTRESOURCEA(icon))), 0);
}

void SetStatus(const ProgressRun& run, HWND dialog, uintptr_t index) {
  const std::string text = Win32Env().strings.Load(StatusStringId(run.kind, index));
  SetDlgItemTextA(dialog, IDC_PROGRESS_STATUS, text.c_str());
}

void Show(HWND dialog, const ProgressDisplay& display) {
  SendDlgItemMessageA(dialog, IDC_PROGRESS_BAR, PBM_SETRANGE32, 0, 100);
  SendDlgItemMessageA(dialog, IDC_PROGRESS_BAR, PBM_SETPOS, display.bar_position, 0);
  if (display.remaining)
    SetDlgItemTextA(dialog, IDC_PROGRESS_REMAINING, display.remaining->c_str());
  SetDlgItemTextA(dialog, IDC_PROGRESS_COPIED, display.copied.c_str());
  SetDlgItemTextA(dialog, IDC_PROGRESS_RATE, display.rate.c_str());
}

void ShowCounters(HWND dialog, const SyncStatistics& totals) {
  const CounterTexts texts = CountersOf(totals);
  if (texts.uploads) SetDlgItemTextA(dialog, IDC_PROGRESS_UPLOADS, texts.uploads->c_str());
  if (texts.downloads) SetDlgItemTextA(dialog, IDC_PROGRESS_DOWNLOADS, texts.downloads->c_str());
  if (texts.deletions) SetDlgItemTextA(dialog, IDC_PROGRESS_DELETIONS, texts.deletions->c_str());
}

void StoreFinishClose(HWND dialog) {
  const uint32_t checked =
      IsDlgButtonChecked(dialog, IDC_PROGRESS_FINISH_CLOSE) == BST_CHECKED ? 1 : 0;
  UserSettings().WriteDword(kFinishCloseValue, checked);
}

void Complete(ProgressRun& run, HWND dialog) {
  run.finished = true;
  const ProgressDisplay display = run.engine.Finish(GetTickCount());
  if (run.draining) {
    run.endpoint.Reply();
    return;
  }
  const bool close_at_once = UserSettings().FinishClose() != 0 ||
                             (!run.synchronize() && (run.options & kTransferCloseWhenDone) != 0);
  if (close_at_once) {
    run.endpoint.Reply();
    EndDialog(dialog, IDOK);
    return;
  }
  KillTimer(dialog, kAnimationTimer);
  ShowIcon(dialog, IDI_QBRK_DONE);
  Show(dialog, display);
  SetDlgItemTextA(dialog, IDC_PROGRESS_STATUS,
                  run.synchronize() ? "Quellanbrookとの同期が終了しました。"
                                    : "ファイルの転送が終了しました。");
  SetDlgItemTextA(dialog, IDOK, "閉じる");
  run.endpoint.Reply();
}

void ErrorEnd(ProgressRun& run, HWND dialog, ResultCode code) {
  run.failed = true;
  const bool report =
      run.synchronize() ? run.endpoint.attached() : (run.options & kTransferReportErrors) != 0;
  if (report && !run.draining) ReportError(Win32Env(), code, run.text->error_name, MB_OK, dialog);
  if (!run.draining) EndDialog(dialog, IDCANCEL);
  run.endpoint.Reply();
}

// Runs the dialog a worker's request asks for and writes its answer. Requests that reach a
// dialog already going away are answered as a cancel would answer them: the job has been
// stopped, so there is no one to ask.
void AnswerQuestion(ProgressRun& run, HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* answer = reinterpret_cast<uint32_t*>(lparam);
  switch (message) {
    case job_message::kFolderMissing:
      if (run.synchronize() && !run.draining && answer)
        *answer = ReportError(Win32Env(), result::kMirrorOrCredentialsMissing,
                              wparam ? reinterpret_cast<const char*>(wparam) : "", MB_OK, dialog);
      break;
    case job_message::kOptions:
    case job_message::kSignIn:
      if (!answer) break;
      if (run.draining)
        *answer = 0;
      else if (message == job_message::kOptions)
        *answer = RunOptionsDialog(dialog, reinterpret_cast<OptionsRecord*>(wparam));
      else
        *answer = RunSignInDialog(dialog, reinterpret_cast<SignInRecord*>(wparam));
      break;
    default: {
      if (!run.synchronize() || !wparam) break;
      const auto question = static_cast<ChoiceQuestion>(message);
      if (run.draining) {
        // 6008's cancel writes 0; the other two leave the word as the worker set it.
        if (question == ChoiceQuestion::kDeletedOnServer && answer) *answer = answer::kCancel;
      } else {
        RunChoiceDialog(dialog, question, reinterpret_cast<const char*>(wparam), answer);
      }
      break;
    }
  }
  run.endpoint.Reply();
}

void HandleJobMessage(ProgressRun& run, HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case job_message::kBeginTransfer:
      if (!run.draining) SetStatus(run, dialog, 3);
      run.engine.BeginTransfer(GetTickCount());
      break;
    case job_message::kCompleted:
      Complete(run, dialog);
      return;  // replies itself, before it may close
    case job_message::kTotals:
      if (const auto* totals = reinterpret_cast<const SyncStatistics*>(wparam)) {
        if (!run.draining) ShowCounters(dialog, *totals);
        run.engine.SetTotal(totals->uploadBytes + totals->downloadBytes);
      }
      break;
    case job_message::kErrorEnd:
      ErrorEnd(run, dialog, static_cast<ResultCode>(wparam));
      return;
    case job_message::kUploaded:
    case job_message::kDownloaded:
      if (auto display = run.engine.AddProgress(wparam, GetTickCount()); display && !run.draining)
        Show(dialog, *display);
      break;
    case job_message::kStatus:
      if (!run.draining) SetStatus(run, dialog, wparam);
      break;
    case job_message::kFolderMissing:
    case job_message::kOptions:
    case job_message::kSignIn:
    case job_message::kDeletedLocally:
    case job_message::kDeletedOnServer:
    case job_message::kConflict:
      AnswerQuestion(run, dialog, message, wparam, lparam);
      return;
    default:
      break;  // not ours: only answered
  }
  run.endpoint.Reply();
}

bool StartWorker(ProgressRun& run, HWND dialog) {
  if (run.endpoint.Open(dialog) != sys_error::kSuccess) return false;
  std::shared_ptr<JobLink> link = run.endpoint.link();
  try {
    std::thread([worker = std::move(run.worker), link, text = run.text] {
      try {
        if (worker) worker(link, text);
      } catch (...) {
        // A worker reports its failures through the link; nothing may leave the thread.
      }
      link->WorkerEnded();
    }).detach();
  } catch (...) {
    return false;
  }
  return true;
}

INT_PTR CALLBACK ProgressProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* run = reinterpret_cast<ProgressRun*>(GetWindowLongPtrA(dialog, DWLP_USER));
  if (message == WM_INITDIALOG) {
    run = reinterpret_cast<ProgressRun*>(lparam);
    SetWindowLongPtrA(dialog, DWLP_USER, lparam);
    ShowIcon(dialog, kFrameIcons[0]);
    CheckDlgButton(dialog, IDC_PROGRESS_FINISH_CLOSE,
                   UserSettings().FinishClose() ? BST_CHECKED : BST_UNCHECKED);
    if (!run->synchronize() && (run->options & kTransferCloseWhenDone) != 0)
      ShowWindow(GetDlgItem(dialog, IDC_PROGRESS_FINISH_CLOSE), SW_HIDE);
    if (!StartWorker(*run, dialog)) {
      run->failed = true;
      EndDialog(dialog, IDCANCEL);
      return TRUE;
    }
    SetTimer(dialog, kAnimationTimer, kAnimationPeriodMs, nullptr);
    return TRUE;
  }
  if (!run) return FALSE;
  if (message >= kFirstJobMessage && message <= kLastJobMessage) {
    HandleJobMessage(*run, dialog, message, wparam, lparam);
    return TRUE;
  }
  switch (message) {
    case WM_TIMER:
      if (wparam != kAnimationTimer) break;
      run->frame = (run->frame + 1) % 4;
      ShowIcon(dialog, kFrameIcons[run->frame]);
      return TRUE;
    case WM_COMMAND:
      switch (LOWORD(wparam)) {
        case IDC_PROGRESS_FINISH_CLOSE:
          if (HIWORD(wparam) == BN_CLICKED) StoreFinishClose(dialog);
          return TRUE;
        case IDOK:
        case IDCANCEL:  // the close box and Escape
          if (!run->synchronize()) StoreFinishClose(dialog);
          run->endpoint.Cancel();
          EndDialog(dialog, LOWORD(wparam));
          return TRUE;
      }
      break;
    case WM_DESTROY:
      KillTimer(dialog, kAnimationTimer);
      run->draining = true;
      run->endpoint.DrainOnDestroy([run, dialog](const MSG& queued) {
        HandleJobMessage(*run, dialog, queued.message, queued.wParam, queued.lParam);
      });
      return TRUE;
  }
  return FALSE;
}

bool RunProgressDialog(HWND owner, int dialog_id, ProgressRun& run) {
  DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(dialog_id), owner, ProgressProc,
                  reinterpret_cast<LPARAM>(&run));
  return run.failed || !run.finished;
}

}  // namespace

bool RunSyncProgressDialog(HWND owner, ProgressWorker worker) {
  ProgressRun run(ProgressKind::kSynchronize, 0, std::move(worker));
  return RunProgressDialog(owner, IDD_SYNC_PROGRESS, run);
}

bool RunTransferProgressDialog(HWND owner, uint32_t options, ProgressWorker worker) {
  ProgressRun run(ProgressKind::kTransfer, options, std::move(worker));
  return RunProgressDialog(owner, IDD_TRANSFER_PROGRESS, run);
}

}  // namespace qbrk
