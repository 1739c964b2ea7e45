#include "platform/win32/win32_host_window.h"

#include <windows.h>

namespace qbrk {

namespace {
constexpr char kHostWindowClass[] = "HvqbrkCls";
}  // namespace

bool Win32HostWindow::SendCommand(uint32_t id, intptr_t value) {
  HWND host = FindWindowA(kHostWindowClass, nullptr);
  if (!host) return false;
  SendMessageA(host, WM_COMMAND, static_cast<WPARAM>(id), static_cast<LPARAM>(value));
  return true;
}

bool Win32HostWindow::PostCommand(uint32_t id, intptr_t value) {
  HWND host = FindWindowA(kHostWindowClass, nullptr);
  if (!host) return false;
  return PostMessageA(host, WM_COMMAND, static_cast<WPARAM>(id), static_cast<LPARAM>(value)) !=
         FALSE;
}

}  // namespace qbrk
