#include "answering_window.h"

#include <gtest/gtest.h>

#include <thread>

namespace qbrk::test {

namespace {
constexpr char kClassName[] = "QbrkTestAnsweringWindow";
constexpr UINT kProgress = WM_USER + 55;
constexpr UINT kFirstQuestion = WM_USER + 60;  // 1084
constexpr UINT kLastQuestion = WM_USER + 66;   // 1090
// A worker that never ends fails the test instead of hanging it.
constexpr DWORD kMaxRunMs = 120000;
}  // namespace

AnsweringWindow::AnsweringWindow() {
  WNDCLASSA window_class{};
  window_class.lpfnWndProc = Proc;
  window_class.hInstance = GetModuleHandleA(nullptr);
  window_class.lpszClassName = kClassName;
  RegisterClassA(&window_class);
  window_ = CreateWindowExA(0, kClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                            window_class.hInstance, nullptr);
  if (window_) SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

AnsweringWindow::~AnsweringWindow() {
  if (window_) DestroyWindow(window_);
}

LRESULT CALLBACK AnsweringWindow::Proc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* self = reinterpret_cast<AnsweringWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
  if (self && message >= kFirstJobMessage && message <= kLastJobMessage) {
    self->Handle(message, wparam, lparam);
    return 0;
  }
  return DefWindowProcA(window, message, wparam, lparam);
}

void AnsweringWindow::Handle(UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == kProgress) {
    ++progress_;
  } else {
    messages_.push_back(message);
    params_.emplace_back(message, wparam);
  }
  auto handler = handlers_.find(message);
  if (handler != handlers_.end()) handler->second(wparam, lparam);
  if (message >= kFirstQuestion && message <= kLastQuestion && lparam) {
    auto answer = answers_.find(message);
    *reinterpret_cast<uint32_t*>(lparam) = answer == answers_.end() ? 0 : answer->second;
  }
  if (message == cancel_message_ && cancel_left_ > 0 && --cancel_left_ == 0) endpoint_.Cancel();
  endpoint_.Reply();
}

std::vector<WPARAM> AnsweringWindow::wparams(uint32_t message) const {
  std::vector<WPARAM> out;
  for (const auto& [m, w] : params_)
    if (m == message) out.push_back(w);
  return out;
}

bool AnsweringWindow::Run(const std::function<void(DialogLink& link)>& job) {
  if (!window_ || endpoint_.Open(window_) != 0) return false;
  HANDLE done = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (!done) return false;
  std::thread worker([&job, link = endpoint_.link(), done] {
    {
      Win32DialogLink dialog(link);
      job(dialog);
    }
    SetEvent(done);
  });
  const DWORD start = GetTickCount();
  bool ended = false;
  bool gave_up = false;
  while (!ended) {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&msg);
    ended = WaitForSingleObject(done, 0) == WAIT_OBJECT_0;
    if (!ended && !gave_up && GetTickCount() - start > kMaxRunMs) {
      gave_up = true;
      // Let the worker go (it stops at its next test) rather than hang the test program.
      endpoint_.Cancel();
      ADD_FAILURE() << "the job did not end";
    }
    if (!ended) MsgWaitForMultipleObjects(1, &done, FALSE, 1000, QS_ALLINPUT);
  }
  worker.join();
  endpoint_.DrainOnDestroy([this](const MSG& m) { Handle(m.message, m.wParam, m.lParam); });
  CloseHandle(done);
  return true;
}

}  // namespace qbrk::test
