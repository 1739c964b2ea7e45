// The link from a worker to its dialog: messages handled one at a time and in order, questions
// answered before the worker goes on, a cancel seen at the worker's next test, and a dialog
// that goes away releasing a waiting worker. The scripted twin and the Win32 link (a real
// window, worker thread and job lock) must agree.
#include "platform/dialog_link.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "contract_param.h"
#include "platform/memory/scripted_dialog_link.h"

#ifdef _WIN32
#include <windows.h>

#include <thread>

#include "platform/win32/job_link.h"
#include "platform/win32/job_lock.h"
#endif

namespace qbrk {
namespace {

constexpr uint32_t kProgress = kWmUser + 55;
constexpr uint32_t kQuestion = kWmUser + 62;

class DialogLinkUnderTest {
 public:
  virtual ~DialogLinkUnderTest() = default;
  // Runs `worker` as the job's worker thread would, with the dialog open and answering: each
  // message is recorded, and a question (lParam set) gets twice its wParam as its answer.
  // Returns once the worker is done.
  virtual void RunWorker(const std::function<void(DialogLink&)>& worker) = 0;
  // The dialog cancels the job once it has handled `count` messages.
  virtual void CancelAfterHandled(int count) = 0;
  // The dialog goes away when the `arrival`-th message reaches it, before handling it.
  virtual void CloseAtArrival(int arrival) = 0;
  // The dialog is gone before the worker posts anything.
  virtual void CloseNow() = 0;
  virtual std::vector<uint32_t> Handled() = 0;
};

void Answer(uint32_t message, uintptr_t wparam, intptr_t lparam) {
  if (message == kQuestion && lparam)
    *reinterpret_cast<uint32_t*>(lparam) = static_cast<uint32_t>(wparam * 2);
}

class TwinDialogLink final : public DialogLinkUnderTest {
 public:
  TwinDialogLink() {
    for (uint32_t message : {kProgress, kQuestion}) {
      link_.OnMessage(message, [this, message](uintptr_t wparam, intptr_t lparam) {
        handled_.push_back(message);
        Answer(message, wparam, lparam);
        if (static_cast<int>(handled_.size()) == cancel_after_) link_.Detach();
      });
    }
  }
  void RunWorker(const std::function<void(DialogLink&)>& worker) override { worker(link_); }
  void CancelAfterHandled(int count) override { cancel_after_ = count; }
  // The twin closes at the n-th message of a kind; the suites close at a question.
  void CloseAtArrival(int arrival) override { link_.DetachAtMessage(kQuestion, arrival); }
  void CloseNow() override { link_.Detach(); }
  std::vector<uint32_t> Handled() override { return handled_; }

 private:
  ScriptedDialogLink link_;
  std::vector<uint32_t> handled_;
  int cancel_after_ = -1;
};

#ifdef _WIN32
// A hidden window on the test's thread standing in for a progress dialog: it handles worker
// messages, and on destruction drains the queue, answering without handling.
class Win32DialogLinkUnderTest final : public DialogLinkUnderTest {
 public:
  Win32DialogLinkUnderTest() {
    InitJobLock();
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = &WindowProc;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = kClass;
    RegisterClassA(&window_class);
    window_ = CreateWindowA(kClass, "", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr,
                            GetModuleHandleA(nullptr), nullptr);
    if (!window_) return;
    SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    endpoint_.Open(window_);
  }
  ~Win32DialogLinkUnderTest() override {
    if (window_) DestroyWindow(window_);
    UnregisterClassA(kClass, GetModuleHandleA(nullptr));
    DeleteJobLock();
  }

  void RunWorker(const std::function<void(DialogLink&)>& worker) override {
    if (!window_ && !closed_) {
      ADD_FAILURE() << "creating a window needs an X display (DISPLAY)";
      return;
    }
    HANDLE done = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::thread thread([link = endpoint_.link(), &worker, done] {
      {
        Win32DialogLink to_dialog(link);
        worker(to_dialog);
      }
      SetEvent(done);
    });
    Pump(done);
    thread.join();
    CloseHandle(done);
  }
  void CancelAfterHandled(int count) override { cancel_after_ = count; }
  void CloseAtArrival(int arrival) override { close_at_ = arrival; }
  void CloseNow() override {
    DestroyWindow(window_);
    window_ = nullptr;
    closed_ = true;
  }
  std::vector<uint32_t> Handled() override { return handled_; }

 private:
  static constexpr char kClass[] = "QbrkDialogLinkContract";
  static constexpr DWORD kPatienceMs = 10000;

  static bool IsJobMessage(UINT message) {
    return message >= kFirstJobMessage && message <= kLastJobMessage;
  }

  // Works the queue until the worker is done (bounded). The message about to close the
  // dialog stays queued, so the destruction has to drain it.
  void Pump(HANDLE done) {
    const DWORD start = GetTickCount();
    while (GetTickCount() - start < kPatienceMs) {
      if (MsgWaitForMultipleObjects(1, &done, FALSE, 50, QS_ALLINPUT) == WAIT_OBJECT_0) return;
      MSG message;
      while (PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE)) {
        if (window_ && message.hwnd == window_ && IsJobMessage(message.message) &&
            ++arrived_ == close_at_) {
          CloseNow();
          continue;
        }
        if (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
      }
    }
    ADD_FAILURE() << "the worker was never released";
  }

  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    auto* self =
        reinterpret_cast<Win32DialogLinkUnderTest*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (!self) return DefWindowProcA(window, message, wparam, lparam);
    if (IsJobMessage(message)) {
      self->handled_.push_back(message);
      Answer(message, wparam, lparam);
      if (static_cast<int>(self->handled_.size()) == self->cancel_after_) self->endpoint_.Cancel();
      self->endpoint_.Reply();
      return 0;
    }
    if (message == WM_DESTROY) {
      self->endpoint_.DrainOnDestroy(nullptr);
      return 0;
    }
    return DefWindowProcA(window, message, wparam, lparam);
  }

  HWND window_ = nullptr;
  bool closed_ = false;
  JobDialogEndpoint endpoint_;
  std::vector<uint32_t> handled_;
  int cancel_after_ = -1;
  int close_at_ = -1;
  int arrived_ = 0;
};
#endif

class DialogLinkContract : public testing::TestWithParam<Implementation<DialogLinkUnderTest>> {
 protected:
  void SetUp() override { dialog_ = GetParam().make(); }
  std::unique_ptr<DialogLinkUnderTest> dialog_;
};

TEST_P(DialogLinkContract, MessagesAreHandledInOrderAndQuestionsAnsweredBeforeTheWorkerGoesOn) {
  std::vector<uint32_t> answers;
  bool attached = false;
  dialog_->RunWorker([&](DialogLink& link) {
    for (uint32_t i = 1; i <= 3; ++i) {
      uint32_t answer = 0;
      link.PostAndWait(kProgress, i, 0);
      link.PostAndWait(kQuestion, i, reinterpret_cast<intptr_t>(&answer));
      answers.push_back(answer);
    }
    attached = link.IsAttached();
  });
  EXPECT_EQ(answers, (std::vector<uint32_t>{2, 4, 6}));
  EXPECT_TRUE(attached);
  EXPECT_EQ(dialog_->Handled(), (std::vector<uint32_t>{kProgress, kQuestion, kProgress, kQuestion,
                                                       kProgress, kQuestion}));
}

TEST_P(DialogLinkContract, ACancelIsSeenAtTheWorkersNextTestAndLaterPostsGoNowhere) {
  dialog_->CancelAfterHandled(2);
  int posted = 0;
  bool attached = true;
  dialog_->RunWorker([&](DialogLink& link) {
    for (int i = 0; i < 50 && link.IsAttached(); ++i) {
      link.PostAndWait(kProgress, 1, 0);
      ++posted;
    }
    uint32_t answer = 5;
    link.PostAndWait(kQuestion, 1, reinterpret_cast<intptr_t>(&answer));
    EXPECT_EQ(answer, 5u);  // nobody asked
    attached = link.IsAttached();
  });
  EXPECT_EQ(posted, 2);
  EXPECT_FALSE(attached);
  EXPECT_EQ(dialog_->Handled(), (std::vector<uint32_t>{kProgress, kProgress}));
}

TEST_P(DialogLinkContract, ADialogClosingWithAQuestionPendingReleasesTheWorker) {
  dialog_->CloseAtArrival(2);
  std::vector<uint32_t> answers;
  bool attached = true;
  dialog_->RunWorker([&](DialogLink& link) {
    for (uint32_t i = 1; i <= 3; ++i) {
      uint32_t answer = 100 + i;  // what the worker gets when nobody answers
      link.PostAndWait(kQuestion, i, reinterpret_cast<intptr_t>(&answer));
      answers.push_back(answer);
    }
    attached = link.IsAttached();
  });
  // The first is answered; the second is released unanswered; the third never leaves.
  EXPECT_EQ(answers, (std::vector<uint32_t>{2, 102, 103}));
  EXPECT_FALSE(attached);
  EXPECT_EQ(dialog_->Handled(), std::vector<uint32_t>{kQuestion});
}

TEST_P(DialogLinkContract, APostToAClosedDialogReturnsAtOnce) {
  dialog_->CloseNow();
  bool attached = true;
  dialog_->RunWorker([&](DialogLink& link) {
    attached = link.IsAttached();
    uint32_t answer = 9;
    link.PostAndWait(kQuestion, 1, reinterpret_cast<intptr_t>(&answer));
    EXPECT_EQ(answer, 9u);
  });
  EXPECT_FALSE(attached);
  EXPECT_TRUE(dialog_->Handled().empty());
}

QBRK_CONTRACT_FOR(Twin, DialogLinkContract, DialogLinkUnderTest, TwinDialogLink);
#ifdef _WIN32
QBRK_CONTRACT_FOR(Win32, DialogLinkContract, DialogLinkUnderTest, Win32DialogLinkUnderTest);
#endif

}  // namespace
}  // namespace qbrk
