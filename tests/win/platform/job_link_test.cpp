// What only the Win32 worker-to-dialog link has, with a real hidden window, a real worker
// thread and real posted messages: a drain that answers through the dialog's handler, a
// window gone without draining, and the job lock. What every link must do (order, answers,
// cancel, a closed dialog) is the contract in tests/contract/dialog_link_contract.cpp.
#include "platform/win32/job_link.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/win32/job_lock.h"

namespace qbrk {
namespace {

constexpr UINT kQuestion = WM_USER + 62;  // a choice question: wParam name, lParam answer
constexpr UINT kProgress = WM_USER + 55;
constexpr DWORD kPatienceMs = 10000;

// A function run on a thread of its own. The thread shares ownership of everything it
// touches, so a test that gives up on it never leaves it with dangling references.
class WorkerThread {
 public:
  explicit WorkerThread(std::function<void()> body)
      : state_(std::make_shared<State>(std::move(body))) {
    auto* handed = new std::shared_ptr<State>(state_);
    thread_ = CreateThread(nullptr, 0, &Run, handed, 0, nullptr);
    if (!thread_) delete handed;
  }
  ~WorkerThread() {
    if (!thread_) return;
    if (WaitForSingleObject(thread_, kPatienceMs) != WAIT_OBJECT_0) TerminateThread(thread_, 1);
    CloseHandle(thread_);
  }
  bool started() const { return thread_ != nullptr; }
  HANDLE handle() const { return thread_; }

 private:
  struct State {
    explicit State(std::function<void()> b) : body(std::move(b)) {}
    std::function<void()> body;
  };
  static DWORD WINAPI Run(void* parameter) {
    std::unique_ptr<std::shared_ptr<State>> state(static_cast<std::shared_ptr<State>*>(parameter));
    (*state)->body();
    return 0;
  }
  std::shared_ptr<State> state_;
  HANDLE thread_ = nullptr;
};

// A hidden window standing in for a progress dialog: it answers each worker message the
// way a handler does (questions get twice their wParam) and drains on destruction.
class FakeDialog {
 public:
  FakeDialog() {
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = &WindowProc;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "QbrkJobLinkTestDialog";
    RegisterClassA(&window_class);
    window_ = CreateWindowA("QbrkJobLinkTestDialog", "", WS_OVERLAPPED, 0, 0, 10, 10, nullptr,
                            nullptr, GetModuleHandleA(nullptr), nullptr);
    if (window_) SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  ~FakeDialog() {
    if (window_) DestroyWindow(window_);
    UnregisterClassA("QbrkJobLinkTestDialog", GetModuleHandleA(nullptr));
  }

  HWND window() const { return window_; }
  JobDialogEndpoint& endpoint() { return endpoint_; }
  const std::vector<UINT>& handled() const { return handled_; }
  const std::vector<UINT>& drained() const { return drained_; }
  void Destroy() {
    DestroyWindow(window_);
    window_ = nullptr;
  }

 private:
  static void Answer(const MSG& message) {
    if (message.message == kQuestion && message.lParam)
      *reinterpret_cast<uint32_t*>(message.lParam) = static_cast<uint32_t>(message.wParam * 2);
  }

  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    auto* self = reinterpret_cast<FakeDialog*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (!self) return DefWindowProcA(window, message, wparam, lparam);
    if (message >= kFirstJobMessage && message <= kLastJobMessage) {
      self->handled_.push_back(message);
      Answer(MSG{window, message, wparam, lparam, 0, {}});
      self->endpoint_.Reply();
      return 0;
    }
    if (message == WM_DESTROY) {
      self->endpoint_.DrainOnDestroy([self](const MSG& queued) {
        self->drained_.push_back(queued.message);
        Answer(queued);
        self->endpoint_.Reply();
      });
      return 0;
    }
    return DefWindowProcA(window, message, wparam, lparam);
  }

  HWND window_ = nullptr;
  JobDialogEndpoint endpoint_;
  std::vector<UINT> handled_;
  std::vector<UINT> drained_;
};

// Results the worker reports back; shared so that it outlives a test that gives up.
struct WorkerLog {
  std::vector<uint32_t> answers;
  std::vector<bool> attached;
  HANDLE done = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  ~WorkerLog() { CloseHandle(done); }
};

class JobLinkTest : public testing::Test {
 protected:
  void SetUp() override {
    InitJobLock();
    ASSERT_NE(dialog_.window(), nullptr) << "creating a window needs an X display (DISPLAY)";
    ASSERT_EQ(dialog_.endpoint().Open(dialog_.window()), sys_error::kSuccess);
    log_ = std::make_shared<WorkerLog>();
  }
  void TearDown() override { DeleteJobLock(); }

  // Waits until the dialog's queue holds a worker message, without taking it.
  bool WaitForQueuedMessage() {
    for (int i = 0; i < 1000; ++i) {
      MSG message;
      if (PeekMessageA(&message, dialog_.window(), kFirstJobMessage, kLastJobMessage, PM_NOREMOVE))
        return true;
      Sleep(10);
    }
    return false;
  }

  FakeDialog dialog_;
  std::shared_ptr<WorkerLog> log_;
};

TEST_F(JobLinkTest, ADialogDestroyedWhileTheWorkerWaitsStillAnswersIt) {
  auto link = dialog_.endpoint().link();
  auto log = log_;
  WorkerThread worker([link, log] {
    {
      Win32DialogLink to_dialog(link);
      uint32_t answer = 0;
      to_dialog.PostAndWait(kQuestion, 21, reinterpret_cast<intptr_t>(&answer));
      log->answers.push_back(answer);
      log->attached.push_back(to_dialog.IsAttached());
      to_dialog.PostAndWait(kProgress, 1, 0);  // returns at once: the dialog is gone
    }
    SetEvent(log->done);
  });
  ASSERT_TRUE(worker.started());
  // The question sits in the queue unhandled when the dialog is closed.
  ASSERT_TRUE(WaitForQueuedMessage());
  dialog_.Destroy();
  ASSERT_EQ(WaitForSingleObject(log_->done, kPatienceMs), WAIT_OBJECT_0);
  EXPECT_EQ(dialog_.drained(), std::vector<UINT>{kQuestion});
  EXPECT_TRUE(dialog_.handled().empty());
  EXPECT_EQ(log_->answers, std::vector<uint32_t>{42});
  EXPECT_EQ(log_->attached, std::vector<bool>{false});
}

TEST_F(JobLinkTest, AWorkerDoesNotWaitForAWindowThatIsGone) {
  // The window vanished without draining (the link still attached): the post fails, so
  // waiting would never end.
  std::shared_ptr<JobLink> orphan;
  uint32_t attached = 0;
  HWND gone = CreateWindowA("QbrkJobLinkTestDialog", "", WS_OVERLAPPED, 0, 0, 10, 10, nullptr,
                            nullptr, GetModuleHandleA(nullptr), nullptr);
  ASSERT_NE(gone, nullptr);
  ASSERT_EQ(JobLink::Create(gone, &attached, &orphan), sys_error::kSuccess);
  EXPECT_EQ(attached, 1u);
  DestroyWindow(gone);
  auto log = log_;
  WorkerThread worker([orphan, log] {
    {
      Win32DialogLink to_dialog(orphan);
      to_dialog.PostAndWait(kProgress, 1, 0);
    }
    SetEvent(log->done);
  });
  ASSERT_TRUE(worker.started());
  EXPECT_EQ(WaitForSingleObject(log_->done, kPatienceMs), WAIT_OBJECT_0);
  EXPECT_EQ(attached, 0u);  // the worker's end cleared the flag it was still linked to
  orphan->Detach();
}

TEST_F(JobLinkTest, TheAttachedTestWaitsForTheJobLock) {
  auto link = dialog_.endpoint().link();
  HANDLE tested = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  ASSERT_NE(tested, nullptr);
  {
    std::optional<JobLockGuard> held(std::in_place);
    WorkerThread worker([link, tested] {
      link->IsAttached();
      SetEvent(tested);
    });
    ASSERT_TRUE(worker.started());
    EXPECT_EQ(WaitForSingleObject(tested, 200), static_cast<DWORD>(WAIT_TIMEOUT));
    held.reset();
    EXPECT_EQ(WaitForSingleObject(tested, kPatienceMs), WAIT_OBJECT_0);
  }
  CloseHandle(tested);
}

}  // namespace
}  // namespace qbrk
