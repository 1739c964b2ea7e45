// The progress dialogs with real worker threads that post scripted sequences: the figures a
// person reads, completion and error ends, the choice dialogs a worker raises, cancelling
// while the worker waits, and the close-when-finished box.
#include "dialogs/progress_dialog.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/win32/job_lock.h"
#include "platform/win32/win32_env.h"
#include "resource_ids.h"
#include "settings/settings.h"
#include "support/dialog_driver.h"
#include "support/screenshot.h"
#include "sync/choice_prompt.h"
#include "sync/sync_statistics.h"

namespace qbrk {
namespace {

using test::Click;
using test::RunDialog;
using test::TextOf;

constexpr char kSyncTitle[] = "Qbrookツール－同期";
constexpr char kTransferTitle[] = "ファイル転送";
constexpr char kChoiceTitle[] = "Qbrookツール－ユーザー選択";
constexpr DWORD kPatienceMs = 10000;

constexpr uint32_t kBeginTransfer = WM_USER + 51;
constexpr uint32_t kCompleted = WM_USER + 52;
constexpr uint32_t kTotals = WM_USER + 53;
constexpr uint32_t kErrorEnd = WM_USER + 54;
constexpr uint32_t kUploaded = WM_USER + 55;
constexpr uint32_t kDownloaded = WM_USER + 56;
constexpr uint32_t kStatus = WM_USER + 59;
constexpr uint32_t kFolderMissing = WM_USER + 60;

// An event; auto-reset ones hand over one step each.
struct Event {
  explicit Event(bool manual = false) : handle(CreateEventA(nullptr, manual, FALSE, nullptr)) {}
  ~Event() { CloseHandle(handle); }
  void Set() const { SetEvent(handle); }
  bool Wait(DWORD ms = kPatienceMs) const { return WaitForSingleObject(handle, ms) == 0; }
  HANDLE handle;
};

// What a scripted worker and the driving thread share. Owned by both, since the worker may
// outlive a failed test.
struct Script {
  Event paused;       // the worker waits for the driver
  Event go_on;        // the driver lets it continue
  Event ended{true};  // the worker's body has returned
  std::atomic<uint32_t> answer{0};
  std::atomic<bool> attached_after{true};
  SyncStatistics totals;
};

// Waits (bounded) until a control shows `text`; the dialog updates on its own thread.
bool WaitForText(HWND dialog, int id, const std::string& text) {
  for (int waited = 0; waited < 5000; waited += 20) {
    if (TextOf(dialog, id) == text) return true;
    Sleep(20);
  }
  return false;
}

int BarPosition(HWND dialog) {
  return static_cast<int>(SendDlgItemMessageA(dialog, IDC_PROGRESS_BAR, PBM_GETPOS, 0, 0));
}

class ProgressDialogTest : public testing::Test {
 protected:
  void SetUp() override {
    InitJobLock();
    Settings settings(Win32Env().registry);
    saved_finish_close_ = settings.FinishClose();
    settings.WriteDword("FinishClose", 0);
    script_ = std::make_shared<Script>();
  }
  void TearDown() override {
    // The worker must be gone before the job lock is.
    EXPECT_TRUE(script_->ended.Wait()) << "the worker was never released";
    Settings(Win32Env().registry).WriteDword("FinishClose", saved_finish_close_);
    DeleteJobLock();
  }

  // A worker running `body` with its link to the dialog.
  ProgressWorker Worker(std::function<void(Win32DialogLink&, ProgressJobText&, Script&)> body) {
    auto script = script_;
    return [script, body](std::shared_ptr<JobLink> link, std::shared_ptr<ProgressJobText> text) {
      {
        Win32DialogLink to_dialog(std::move(link));
        body(to_dialog, *text, *script);
        script->attached_after = to_dialog.IsAttached();
      }
      script->ended.Set();
    };
  }

  uint32_t saved_finish_close_ = 0;
  std::shared_ptr<Script> script_;
};

TEST_F(ProgressDialogTest, ShowsTheFiguresOfAScriptedRunAndItsEnd) {
  script_->totals.uploads = 3;              // c6
  script_->totals.serverFolderCreates = 1;  // c5
  script_->totals.downloads = 2;            // c7
  script_->totals.localFileDeletes = 4;     // c0
  script_->totals.serverFolderDeletes = 1;  // c3
  script_->totals.uploadBytes = 3072;
  script_->totals.downloadBytes = 1024;
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    link.PostAndWait(kStatus, 1, 0);
    link.PostAndWait(kTotals, reinterpret_cast<uintptr_t>(&script.totals), 0);
    script.paused.Set();
    script.go_on.Wait();
    link.PostAndWait(kBeginTransfer, 0, 0);
    Sleep(50);  // a later tick, so the progress is drawn
    link.PostAndWait(kUploaded, 1024, 0);
    link.PostAndWait(kDownloaded, 1024, 0);
    script.paused.Set();
    script.go_on.Wait();
    link.PostAndWait(kCompleted, 0, 0);
  });
  const uint32_t failed = RunDialog(
      [&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
      [&](HWND dialog) {
        ASSERT_TRUE(script_->paused.Wait());
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_STATUS), "認証中です。");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_UPLOADS), "4");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_DOWNLOADS), "2");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_DELETIONS), "5");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_REMAINING), "--分--秒");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_RATE), "--KB/秒");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_COPIED), "( ----MB 中 ----MB コピーしました。)");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_FINISH_CLOSE),
                  "同期が完了したときは、このダイアログボックスを閉じる(&C)");
        EXPECT_EQ(TextOf(dialog, IDOK), "中止");
        EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6002"));
        script_->go_on.Set();

        ASSERT_TRUE(script_->paused.Wait());
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_STATUS), "Quellanbrookと同期中です。");
        // Half of the 4 KB moved: drawn at the first message (25 %) and the second (50 %).
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_COPIED), "(4KB 中 2KB コピーしました。)");
        EXPECT_EQ(BarPosition(dialog), 50);
        EXPECT_NE(TextOf(dialog, IDC_PROGRESS_RATE), "--KB/秒");
        EXPECT_NE(TextOf(dialog, IDC_PROGRESS_REMAINING), "--分--秒");
        EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6002_progress"));
        script_->go_on.Set();

        // Completed: the dialog stays, with the final figures and a close button.
        ASSERT_TRUE(WaitForText(dialog, IDOK, "閉じる"));
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_STATUS), "Quellanbrookとの同期が終了しました。");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_COPIED), "(4KB 中 4KB コピーしました。)");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_REMAINING), "0秒");
        EXPECT_EQ(BarPosition(dialog), 0);
        EXPECT_EQ(reinterpret_cast<HICON>(
                      SendDlgItemMessageA(dialog, IDC_PROGRESS_ICON, STM_GETICON, 0, 0)),
                  LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_QBRK_DONE)));
        EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6002_done"));
        Click(dialog, IDOK);
      });
  EXPECT_EQ(failed, 0u);
}

TEST_F(ProgressDialogTest, TheIconIsAnimatedWhileTheJobRuns) {
  const auto worker =
      Worker([](Win32DialogLink&, ProgressJobText&, Script& script) { script.go_on.Wait(); });
  RunDialog([&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
            [&](HWND dialog) {
              const auto icon = [&] {
                return reinterpret_cast<HICON>(
                    SendDlgItemMessageA(dialog, IDC_PROGRESS_ICON, STM_GETICON, 0, 0));
              };
              const HICON frames[] = {
                  LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_QBRK_SYNC_FRAME1)),
                  LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_QBRK_SYNC_FRAME2)),
                  LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_QBRK_SYNC_FRAME3))};
              std::vector<HICON> seen;
              for (int waited = 0; waited < 3000 && seen.size() < 3; waited += 50) {
                if (seen.empty() || seen.back() != icon()) seen.push_back(icon());
                Sleep(50);
              }
              EXPECT_EQ(seen, (std::vector<HICON>{frames[0], frames[1], frames[2]}));
              Click(dialog, IDOK);
            });
  script_->go_on.Set();
}

TEST_F(ProgressDialogTest, AnErrorEndShowsTheErrorWithTheJobTextAndFails) {
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText& text, Script&) {
    text.error_name = "C:\\Users\\test\\My Quellanbrook";
    link.PostAndWait(kErrorEnd, 96, 0);
  });
  const uint32_t failed = RunDialog(
      [&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
      [&](HWND dialog) {
        HWND box = test::WaitForDialog("Qbrook　エラーNo.96", dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(TextOf(box, IDC_MESSAGE_TEXT).find("C:\\Users\\test\\My Quellanbrook"), 0u);
        EXPECT_TRUE(test::SaveScreenshot(box, "dialog_6002_error"));
        Click(box, IDC_MESSAGE_BUTTON1);
      });
  EXPECT_EQ(failed, 1u);
}

TEST_F(ProgressDialogTest, AMissingFolderIsReportedAndTheBoxAnswerGoesBackToTheWorker) {
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    uint32_t answer = 77;
    link.PostAndWait(kFolderMissing, reinterpret_cast<uintptr_t>("D:\\gone"),
                     reinterpret_cast<intptr_t>(&answer));
    script.answer = answer;
    link.PostAndWait(kCompleted, 0, 0);
  });
  const uint32_t failed =
      RunDialog([&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
                [&](HWND dialog) {
                  HWND box = test::WaitForDialog("Qbrook　エラーNo.96", dialog);
                  ASSERT_NE(box, nullptr);
                  EXPECT_EQ(TextOf(box, IDC_MESSAGE_TEXT).find("D:\\gone"), 0u);
                  Click(box, IDC_MESSAGE_BUTTON1);
                  ASSERT_TRUE(WaitForText(dialog, IDOK, "閉じる"));
                  Click(dialog, IDOK);
                });
  EXPECT_EQ(failed, 0u);
  ASSERT_TRUE(script_->ended.Wait());
  EXPECT_EQ(script_->answer, static_cast<uint32_t>(IDOK));
}

TEST_F(ProgressDialogTest, AWorkerQuestionIsAnsweredByAClickInTheChoiceDialog) {
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    uint32_t answer = answer::kCancel;
    link.PostAndWait(static_cast<uint32_t>(ChoiceQuestion::kConflict),
                     reinterpret_cast<uintptr_t>("R&D 報告.txt"),
                     reinterpret_cast<intptr_t>(&answer));
    script.answer = answer;
    link.PostAndWait(kCompleted, 0, 0);
  });
  const uint32_t failed =
      RunDialog([&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
                [&](HWND dialog) {
                  HWND choice = test::WaitForDialog(kChoiceTitle, dialog);
                  ASSERT_NE(choice, nullptr);
                  EXPECT_EQ(GetWindow(choice, GW_OWNER), dialog);
                  EXPECT_EQ(TextOf(choice, IDC_CHOICE_CONFLICT_NAME), "R&&D 報告.txt");
                  Click(choice, IDC_CHOICE_CONFLICT_ALL);
                  Click(choice, IDC_CHOICE_CONFLICT_UPLOAD);
                  ASSERT_TRUE(WaitForText(dialog, IDOK, "閉じる"));
                  Click(dialog, IDOK);
                });
  EXPECT_EQ(failed, 0u);
  ASSERT_TRUE(script_->ended.Wait());
  EXPECT_EQ(script_->answer, answer::kUploadAll);
}

// Holds the dialog's thread inside a hook while the worker posts its question, then presses
// Abort there, so the question is still queued when the dialog goes away.
struct HeldDialog {
  static inline UINT hold_message = RegisterWindowMessageA("QbrkTestHoldDialog");
  static inline HANDLE question_posting = nullptr;
  static inline HWND dialog = nullptr;

  static LRESULT CALLBACK Hook(int code, WPARAM wparam, LPARAM lparam) {
    auto* message = reinterpret_cast<MSG*>(lparam);
    if (code == HC_ACTION && wparam == PM_REMOVE && message->message == hold_message) {
      message->message = WM_NULL;
      WaitForSingleObject(question_posting, kPatienceMs);
      Sleep(200);  // the post follows the signal at once
      SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
    }
    return CallNextHookEx(nullptr, code, wparam, lparam);
  }
};

TEST_F(ProgressDialogTest, CancellingWhileTheWorkerWaitsOnAQuestionReleasesIt) {
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    link.PostAndWait(kStatus, 0, 0);
    script.paused.Set();
    script.go_on.Wait();
    uint32_t answer = 7;  // 6008's cancel writes 0
    script.answer = 99;
    SetEvent(HeldDialog::question_posting);
    link.PostAndWait(static_cast<uint32_t>(ChoiceQuestion::kDeletedOnServer),
                     reinterpret_cast<uintptr_t>("gone.txt"), reinterpret_cast<intptr_t>(&answer));
    script.answer = answer;
  });
  Event posting;
  HeldDialog::question_posting = posting.handle;
  HHOOK hook = SetWindowsHookExA(WH_GETMESSAGE, &HeldDialog::Hook, nullptr, GetCurrentThreadId());
  ASSERT_NE(hook, nullptr);
  const uint32_t failed =
      RunDialog([&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
                [&](HWND dialog) {
                  ASSERT_TRUE(script_->paused.Wait());
                  HeldDialog::dialog = dialog;
                  PostMessageA(dialog, HeldDialog::hold_message, 0, 0);
                  script_->go_on.Set();
                });
  UnhookWindowsHookEx(hook);
  EXPECT_EQ(failed, 1u);
  ASSERT_TRUE(script_->ended.Wait());
  // Answered during the dialog's destruction, as a cancel, without showing the question.
  EXPECT_EQ(script_->answer, answer::kCancel);
  EXPECT_FALSE(script_->attached_after);
  EXPECT_EQ(test::WaitForDialog(kChoiceTitle), nullptr);
}

TEST_F(ProgressDialogTest, TheFinishCloseBoxIsStoredAtEachClickAndClosesAtCompletion) {
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    script.go_on.Wait();
    link.PostAndWait(kCompleted, 0, 0);
  });
  const uint32_t failed =
      RunDialog([&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
                [&](HWND dialog) {
                  Settings settings(Win32Env().registry);
                  Click(dialog, IDC_PROGRESS_FINISH_CLOSE);
                  EXPECT_EQ(settings.FinishClose(), 1u);
                  Click(dialog, IDC_PROGRESS_FINISH_CLOSE);
                  EXPECT_EQ(settings.FinishClose(), 0u);
                  Click(dialog, IDC_PROGRESS_FINISH_CLOSE);
                  script_->go_on.Set();  // completion closes the dialog by itself
                });
  EXPECT_EQ(failed, 0u);
}

TEST_F(ProgressDialogTest, TheTransferDialogHasItsOwnTextsAndOptions) {
  // Options 0: the box is shown, completion keeps the dialog open.
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    link.PostAndWait(kStatus, 2, 0);
    script.paused.Set();
    script.go_on.Wait();
    link.PostAndWait(kCompleted, 0, 0);
  });
  uint32_t failed = RunDialog(
      [&] { return RunTransferProgressDialog(nullptr, 0, worker) ? 1u : 0u; }, kTransferTitle,
      [&](HWND dialog) {
        ASSERT_TRUE(script_->paused.Wait());
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_STATUS), "情報を収集中です。");
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_FINISH_CLOSE),
                  "転送が完了したときは、このダイアログボックスを閉じる(&C)");
        EXPECT_TRUE(IsWindowVisible(GetDlgItem(dialog, IDC_PROGRESS_FINISH_CLOSE)));
        EXPECT_TRUE(test::SaveScreenshot(dialog, "dialog_6105"));
        script_->go_on.Set();
        ASSERT_TRUE(WaitForText(dialog, IDOK, "閉じる"));
        EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_STATUS), "ファイルの転送が終了しました。");
        Click(dialog, IDOK);
      });
  EXPECT_EQ(failed, 0u);
}

TEST_F(ProgressDialogTest, TransferOptionsHideTheBoxCloseAtCompletionAndReportErrors) {
  const auto completes = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    script.paused.Set();
    script.go_on.Wait();
    link.PostAndWait(kCompleted, 0, 0);
  });
  uint32_t failed = RunDialog(
      [&] { return RunTransferProgressDialog(nullptr, 0x4, completes) ? 1u : 0u; }, kTransferTitle,
      [&](HWND dialog) {
        ASSERT_TRUE(script_->paused.Wait());
        EXPECT_FALSE(IsWindowVisible(GetDlgItem(dialog, IDC_PROGRESS_FINISH_CLOSE)));
        script_->go_on.Set();
      });
  EXPECT_EQ(failed, 0u);
  ASSERT_TRUE(script_->ended.Wait());

  // Bit 0x2: the error end shows its message; without it the dialog only closes.
  for (uint32_t options : {0x2u, 0x0u}) {
    SCOPED_TRACE(options);
    script_ = std::make_shared<Script>();
    const auto fails = Worker([](Win32DialogLink& link, ProgressJobText& text, Script&) {
      text.error_name = "a.txt";
      link.PostAndWait(kErrorEnd, 124, 0);
    });
    const auto show = [&] { return RunTransferProgressDialog(nullptr, options, fails) ? 1u : 0u; };
    if (options) {
      failed = RunDialog(show, kTransferTitle, [&](HWND dialog) {
        HWND box = test::WaitForDialog("Qbrook　エラーNo.124", dialog);
        ASSERT_NE(box, nullptr);
        Click(box, IDC_MESSAGE_BUTTON1);
      });
    } else {
      failed = test::RunWithoutDialog(show, "Qbrook　エラーNo.124");
    }
    EXPECT_EQ(failed, 1u);
    ASSERT_TRUE(script_->ended.Wait());
  }
}

TEST_F(ProgressDialogTest, ACounterOverTheLimitKeepsItsLabel) {
  script_->totals.uploads = 10000;
  script_->totals.downloads = 1;
  script_->totals.localFileDeletes = 10000;
  const auto worker = Worker([](Win32DialogLink& link, ProgressJobText&, Script& script) {
    link.PostAndWait(kTotals, reinterpret_cast<uintptr_t>(&script.totals), 0);
    script.paused.Set();
    script.go_on.Wait();
  });
  RunDialog([&] { return RunSyncProgressDialog(nullptr, worker) ? 1u : 0u; }, kSyncTitle,
            [&](HWND dialog) {
              ASSERT_TRUE(script_->paused.Wait());
              EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_UPLOADS), "0");
              EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_DOWNLOADS), "0");
              EXPECT_EQ(TextOf(dialog, IDC_PROGRESS_DELETIONS), "0");
              Click(dialog, IDOK);
            });
  script_->go_on.Set();
}

}  // namespace
}  // namespace qbrk
