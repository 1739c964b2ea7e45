// STAND-IN, TO BE DELETED WHEN THE PROGRESS DIALOGS ARE MERGED: the real dialogs 6002 and
// 6105 implement progress_dialog.h. This one lets the synchronize command run its job on
// this branch: a hidden message-only window answers the worker the way the dialog would
// when the user closes every request (options, sign-in, the vanished mirror folder and the
// choices all answer 0), records how the run ended, and returns when the worker has ended.
#include <windows.h>

#include <thread>

#include "dialogs/progress_dialog.h"

namespace qbrk {

namespace {

constexpr char kClassName[] = "QbrkProgressStandIn";
constexpr UINT kCompleted = WM_USER + 52;  // 1076
constexpr UINT kFailed = WM_USER + 54;     // 1078
constexpr UINT kMirrorVanished = WM_USER + 60;
constexpr UINT kOptions = WM_USER + 61;
constexpr UINT kFirstChoice = WM_USER + 62;
constexpr UINT kLastChoice = WM_USER + 64;
constexpr UINT kSignIn = WM_USER + 66;

struct StandInState {
  JobDialogEndpoint endpoint;
  bool completed = false;
  bool failed = false;
};

void Answer(StandInState& state, UINT message, WPARAM, LPARAM lparam) {
  if (message == kCompleted) state.completed = true;
  if (message == kFailed) state.failed = true;
  const bool asks = message == kMirrorVanished || message == kOptions || message == kSignIn ||
                    (message >= kFirstChoice && message <= kLastChoice);
  if (asks && lparam) *reinterpret_cast<uint32_t*>(lparam) = 0;
  state.endpoint.Reply();
}

LRESULT CALLBACK StandInProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message >= kFirstJobMessage && message <= kLastJobMessage) {
    auto* state = reinterpret_cast<StandInState*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (state) Answer(*state, message, wparam, lparam);
    return 0;
  }
  return DefWindowProcA(window, message, wparam, lparam);
}

bool RunStandIn(ProgressWorker worker) {
  WNDCLASSA window_class{};
  window_class.lpfnWndProc = StandInProc;
  window_class.hInstance = GetModuleHandleA(nullptr);
  window_class.lpszClassName = kClassName;
  RegisterClassA(&window_class);  // a second registration fails harmlessly
  HWND window = CreateWindowExA(0, kClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                window_class.hInstance, nullptr);
  if (!window) return true;
  StandInState state;
  SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&state));
  HANDLE done = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (!done || state.endpoint.Open(window) != 0) {
    if (done) CloseHandle(done);
    DestroyWindow(window);
    return true;
  }
  auto text = std::make_shared<ProgressJobText>();
  std::thread thread([&worker, link = state.endpoint.link(), text, done] {
    try {
      worker(link, text);
    } catch (...) {
    }
    SetEvent(done);
  });
  for (;;) {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&msg);
    if (WaitForSingleObject(done, 0) == WAIT_OBJECT_0) break;
    MsgWaitForMultipleObjects(1, &done, FALSE, INFINITE, QS_ALLINPUT);
  }
  thread.join();
  state.endpoint.DrainOnDestroy(
      [&state](const MSG& m) { Answer(state, m.message, m.wParam, m.lParam); });
  SetWindowLongPtrA(window, GWLP_USERDATA, 0);
  DestroyWindow(window);
  CloseHandle(done);
  return state.failed || !state.completed;
}

}  // namespace

bool RunSyncProgressDialog(HWND, ProgressWorker worker) {
  return RunStandIn(std::move(worker));
}

bool RunTransferProgressDialog(HWND, uint32_t, ProgressWorker worker) {
  return RunStandIn(std::move(worker));
}

}  // namespace qbrk
