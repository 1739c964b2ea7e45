#include "host_window_recorder.h"

namespace qbrk_host {

namespace {
constexpr char kHostClass[] = "HvqbrkCls";
HostWindowRecorder* g_recorder = nullptr;
std::vector<RecordedCommand> g_commands;

void Record(HWND target, bool sent, UINT message, WPARAM wparam, LPARAM lparam) {
  if (!g_recorder || target != g_recorder->window() || message != WM_COMMAND) return;
  g_commands.push_back({sent, LOWORD(wparam), lparam});
}
}  // namespace

bool HostWindowRecorder::Create(std::string* error) {
  WNDCLASSA wc = {};
  wc.lpfnWndProc = WindowProc;
  wc.hInstance = GetModuleHandleA(nullptr);
  wc.lpszClassName = kHostClass;
  if (!RegisterClassA(&wc)) {
    *error = "RegisterClassA failed";
    return false;
  }
  // A top-level window that is never shown, like the tray program's.
  window_ = CreateWindowA(kHostClass, "", WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                          wc.hInstance, nullptr);
  if (!window_) {
    *error = "CreateWindowA failed";
    return false;
  }
  g_recorder = this;
  // Sent messages pass the call-window-procedure hook; posted ones the get-message hook,
  // whoever pumps them (the library's modal dialogs pump this thread's queue too).
  sent_hook_ = SetWindowsHookExA(WH_CALLWNDPROC, SentHook, nullptr, GetCurrentThreadId());
  posted_hook_ = SetWindowsHookExA(WH_GETMESSAGE, PostedHook, nullptr, GetCurrentThreadId());
  if (!sent_hook_ || !posted_hook_) {
    *error = "SetWindowsHookExA failed (is there a display?)";
    return false;
  }
  return true;
}

HostWindowRecorder::~HostWindowRecorder() {
  if (sent_hook_) UnhookWindowsHookEx(sent_hook_);
  if (posted_hook_) UnhookWindowsHookEx(posted_hook_);
  if (window_) DestroyWindow(window_);
  g_recorder = nullptr;
}

void HostWindowRecorder::Pump() {
  MSG msg;
  for (int i = 0; i < 10000 && PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE); ++i) {
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
}

std::vector<RecordedCommand> HostWindowRecorder::TakeCommands() {
  std::vector<RecordedCommand> out;
  out.swap(g_commands);
  return out;
}

LRESULT CALLBACK HostWindowRecorder::WindowProc(HWND window, UINT message, WPARAM wparam,
                                                LPARAM lparam) {
  return DefWindowProcA(window, message, wparam, lparam);
}

LRESULT CALLBACK HostWindowRecorder::SentHook(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HC_ACTION) {
    const auto* call = reinterpret_cast<const CWPSTRUCT*>(lparam);
    Record(call->hwnd, true, call->message, call->wParam, call->lParam);
  }
  return CallNextHookEx(nullptr, code, wparam, lparam);
}

LRESULT CALLBACK HostWindowRecorder::PostedHook(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HC_ACTION && wparam == PM_REMOVE) {
    const auto* msg = reinterpret_cast<const MSG*>(lparam);
    Record(msg->hwnd, false, msg->message, msg->wParam, msg->lParam);
  }
  return CallNextHookEx(nullptr, code, wparam, lparam);
}

}  // namespace qbrk_host
