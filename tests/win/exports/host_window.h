// The tray program's hidden window as the synchronize tests see it, and the set-up those
// tests share: files in and out of the mirror folder and a stored sign-in.
#pragma once

#include <windows.h>

#include <fstream>
#include <string>
#include <vector>

#include "settings/credential_record.h"
#include "support/user_state.h"

namespace qbrk::test {

constexpr char kHostClass[] = "HvqbrkCls";
constexpr char kUser[] = "taro@example.jp";
constexpr char kPassword[] = "secret";

// The tray program's hidden window: records every WM_COMMAND it receives. Sent messages
// pass the call-window-procedure hook, posted ones the get-message hook, whoever pumps them
// (the library's dialogs pump this thread's queue too).
class HostWindow {
 public:
  HostWindow() {
    WNDCLASSA window_class{};
    window_class.lpfnWndProc = DefWindowProcA;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = kHostClass;
    RegisterClassA(&window_class);
    window_ = CreateWindowExA(0, kHostClass, "", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr,
                              window_class.hInstance, nullptr);
    current_ = this;
    sent_hook_ = SetWindowsHookExA(WH_CALLWNDPROC, SentHook, nullptr, GetCurrentThreadId());
    posted_hook_ = SetWindowsHookExA(WH_GETMESSAGE, PostedHook, nullptr, GetCurrentThreadId());
  }
  ~HostWindow() {
    if (sent_hook_) UnhookWindowsHookEx(sent_hook_);
    if (posted_hook_) UnhookWindowsHookEx(posted_hook_);
    DestroyWindow(window_);
    current_ = nullptr;
  }
  bool ready() const { return window_ && sent_hook_ && posted_hook_; }

  // What arrived, as "sent 32779 1" or "posted 32780 1", once the queue is emptied.
  std::vector<std::string> Received() {
    MSG msg;
    for (int i = 0; i < 1000 && PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE); ++i)
      DispatchMessageA(&msg);
    std::vector<std::string> out;
    out.swap(received_);
    return out;
  }

 private:
  static void Record(HWND target, const char* how, UINT message, WPARAM wparam, LPARAM lparam) {
    if (!current_ || target != current_->window_ || message != WM_COMMAND) return;
    current_->received_.push_back(std::string(how) + " " + std::to_string(LOWORD(wparam)) + " " +
                                  std::to_string(lparam));
  }
  static LRESULT CALLBACK SentHook(int code, WPARAM wparam, LPARAM lparam) {
    if (code == HC_ACTION) {
      const auto* call = reinterpret_cast<const CWPSTRUCT*>(lparam);
      Record(call->hwnd, "sent", call->message, call->wParam, call->lParam);
    }
    return CallNextHookEx(nullptr, code, wparam, lparam);
  }
  static LRESULT CALLBACK PostedHook(int code, WPARAM wparam, LPARAM lparam) {
    if (code == HC_ACTION && wparam == PM_REMOVE) {
      const auto* msg = reinterpret_cast<const MSG*>(lparam);
      Record(msg->hwnd, "posted", msg->message, msg->wParam, msg->lParam);
    }
    return CallNextHookEx(nullptr, code, wparam, lparam);
  }

  static inline HostWindow* current_ = nullptr;
  HWND window_ = nullptr;
  HHOOK sent_hook_ = nullptr;
  HHOOK posted_hook_ = nullptr;
  std::vector<std::string> received_;
};

inline void RemoveFile(const std::string& path) {
  SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileA(path.c_str());
}

inline void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

inline bool WriteCredentials(const std::string& user, const std::string& password) {
  const std::vector<uint8_t> stored =
      ScrambleCredentialRecord(BuildCredentialRecord(user, password, true), 7);
  HKEY key = nullptr;
  if (RegCreateKeyA(HKEY_CURRENT_USER, kSettingsKeyPath, &key) != ERROR_SUCCESS) return false;
  const LONG r =
      RegSetValueExA(key, "Info", 0, REG_BINARY, stored.data(), static_cast<DWORD>(stored.size()));
  RegCloseKey(key);
  return r == ERROR_SUCCESS;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), {});
}

}  // namespace qbrk::test
