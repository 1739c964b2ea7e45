#include "support/dialog_driver.h"

// After <windows.h>, which it depends on.
#include <commctrl.h>
#include <gtest/gtest.h>
#include <shlobj.h>

#include <atomic>
#include <thread>
#include <vector>

namespace qbrk::test {

namespace {

constexpr int kFindTimeoutMs = 5000;
constexpr int kPollMs = 20;

UINT EndDialogMessage() {
  static const UINT message = RegisterWindowMessageA("QbrkTestEndDialog");
  return message;
}

// Sees the dialog thread's messages before the dialog does, so the end request is carried out
// on the thread that owns the dialog.
LRESULT CALLBACK EndRequestHook(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HC_ACTION && wparam == PM_REMOVE) {
    MSG* message = reinterpret_cast<MSG*>(lparam);
    if (message->message == EndDialogMessage()) {
      EndDialog(message->hwnd, 0);
      message->message = WM_NULL;
    }
  }
  return CallNextHookEx(nullptr, code, wparam, lparam);
}

// Test programs run side by side on one display: only this process's dialogs count.
HWND FindOwnDialog(const std::string& caption, HWND other_than) {
  HWND found = nullptr;
  const char* title = caption.empty() ? nullptr : caption.c_str();
  while ((found = FindWindowExA(nullptr, found, "#32770", title)) != nullptr) {
    DWORD process = 0;
    GetWindowThreadProcessId(found, &process);
    if (process == GetCurrentProcessId() && IsWindowVisible(found) && found != other_than)
      return found;
  }
  return nullptr;
}

}  // namespace

HWND WaitForDialog(const std::string& caption, HWND other_than) {
  for (int waited = 0; waited < kFindTimeoutMs; waited += kPollMs) {
    if (HWND found = FindOwnDialog(caption, other_than)) return found;
    Sleep(kPollMs);
  }
  return nullptr;
}

namespace {

// Once a run has gone wrong, nothing may be left waiting on a person: every dialog of this
// process that opens is ended until `show` has returned (a bounded time).
constexpr int kCleanUpTimeoutMs = 30000;

void EndEveryDialogUntil(const std::atomic<bool>& shown) {
  for (int waited = 0; waited < kCleanUpTimeoutMs && !shown; waited += kPollMs) {
    if (HWND dialog = FindOwnDialog("", nullptr)) ForceEndDialog(dialog);
    Sleep(kPollMs);
  }
}

// Finds the dialog titled `caption`. Fails at once, naming what it saw, when a dialog with
// another title opens instead or when `show` returns without one; after five seconds when
// nothing opens at all.
HWND FindExpectedDialog(const std::string& caption, const std::atomic<bool>& shown) {
  for (int waited = 0; waited < kFindTimeoutMs; waited += kPollMs) {
    if (HWND found = FindOwnDialog(caption, nullptr)) return found;
    if (!caption.empty()) {
      if (HWND other = FindOwnDialog("", nullptr)) {
        // A dialog may open a box of its own before it is first shown: that box's owner is
        // the dialog looked for.
        HWND owner = GetWindow(other, GW_OWNER);
        if (owner && TextOf(owner) == caption) return owner;
        // It became visible between the two looks.
        if (TextOf(other) == caption) return other;
        ADD_FAILURE() << "expected a dialog titled \"" << caption << "\", but "
                      << DescribeDialog(other) << " opened";
        return nullptr;
      }
    }
    if (shown) {
      ADD_FAILURE() << "no dialog titled \"" << caption << "\" opened before the call returned";
      return nullptr;
    }
    Sleep(kPollMs);
  }
  ADD_FAILURE() << "no dialog titled \"" << caption << "\" opened within " << kFindTimeoutMs
                << " ms";
  return nullptr;
}

}  // namespace

std::string DescribeDialog(HWND dialog) {
  std::string description = "\"" + TextOf(dialog) + "\" showing";
  for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    const std::string text = TextOf(child);
    if (!text.empty()) description += " [" + text + "]";
  }
  return description;
}

uint32_t RunDialog(const std::function<uint32_t()>& show, const std::string& caption,
                   const std::function<void(HWND)>& drive) {
  HHOOK hook = SetWindowsHookExA(WH_GETMESSAGE, EndRequestHook, nullptr, GetCurrentThreadId());
  EXPECT_NE(hook, nullptr);
  std::atomic<bool> shown{false};
  std::thread driver([&] {
    HWND dialog = FindExpectedDialog(caption, shown);
    if (!dialog) {
      EndEveryDialogUntil(shown);
      return;
    }
    drive(dialog);
    if (!WaitUntilClosed(dialog)) {
      ADD_FAILURE() << "the dialog \"" << caption << "\" is still open";
      ForceEndDialog(dialog);
    }
  });
  const uint32_t result = show();
  shown = true;
  driver.join();
  if (hook) UnhookWindowsHookEx(hook);
  return result;
}

uint32_t RunWithoutDialog(const std::function<uint32_t()>& show, const std::string& caption) {
  HHOOK hook = SetWindowsHookExA(WH_GETMESSAGE, EndRequestHook, nullptr, GetCurrentThreadId());
  std::atomic<bool> done{false};
  std::thread guard([&] {
    for (int waited = 0; waited < kFindTimeoutMs && !done; waited += kPollMs) {
      if (HWND dialog = FindOwnDialog(caption, nullptr)) {
        ADD_FAILURE() << "a dialog titled \"" << caption << "\" appeared";
        ForceEndDialog(dialog);
        return;
      }
      Sleep(kPollMs);
    }
  });
  const uint32_t result = show();
  done = true;
  guard.join();
  if (hook) UnhookWindowsHookEx(hook);
  return result;
}

void ForceEndDialog(HWND dialog) {
  PostMessageA(dialog, EndDialogMessage(), 0, 0);
}

bool WaitUntilClosed(HWND dialog, int timeout_ms) {
  for (int waited = 0; waited < timeout_ms; waited += kPollMs) {
    if (!IsWindow(dialog)) return true;
    Sleep(kPollMs);
  }
  return !IsWindow(dialog);
}

void Click(HWND dialog, int id) {
  SendMessageA(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
}

void PostClick(HWND dialog, int id) {
  PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

namespace {

std::string ItemText(HWND tree, HTREEITEM item) {
  char text[MAX_PATH] = {};
  TVITEMA query{};
  query.mask = TVIF_TEXT;
  query.hItem = item;
  query.pszText = text;
  query.cchTextMax = sizeof text;
  return item && SendMessageA(tree, TVM_GETITEMA, 0, reinterpret_cast<LPARAM>(&query)) ? text : "";
}

HTREEITEM SelectedItem(HWND tree) {
  return reinterpret_cast<HTREEITEM>(SendMessageA(tree, TVM_GETNEXTITEM, TVGN_CARET, 0));
}

// The first item shown in `tree` (depth first, a bounded walk) whose text is `name`.
HTREEITEM FindShownItem(HWND tree, const std::string& name) {
  std::vector<HTREEITEM> pending = {
      reinterpret_cast<HTREEITEM>(SendMessageA(tree, TVM_GETNEXTITEM, TVGN_ROOT, 0))};
  for (int visited = 0; !pending.empty() && visited < 1000; ++visited) {
    HTREEITEM item = pending.back();
    pending.pop_back();
    if (!item) continue;
    if (ItemText(tree, item) == name) return item;
    pending.push_back(
        reinterpret_cast<HTREEITEM>(SendMessageA(tree, TVM_GETNEXTITEM, TVGN_NEXT, LPARAM(item))));
    pending.push_back(
        reinterpret_cast<HTREEITEM>(SendMessageA(tree, TVM_GETNEXTITEM, TVGN_CHILD, LPARAM(item))));
  }
  return nullptr;
}

}  // namespace

bool SelectInBrowser(HWND browser, const std::string& path) {
  HWND tree = FindWindowExA(browser, nullptr, WC_TREEVIEWA, nullptr);
  if (!tree) return false;
  const std::string name = path.substr(path.find_last_of('\\') + 1);
  SendMessageA(browser, BFFM_SETSELECTIONA, TRUE, reinterpret_cast<LPARAM>(path.c_str()));
  for (int waited = 0; waited < 1000; waited += kPollMs) {
    if (ItemText(tree, SelectedItem(tree)) == name) return true;
    Sleep(kPollMs);
  }
  // Wine's browser, when rooted, sometimes does not find the path: click its item instead.
  for (int waited = 0; waited < kFindTimeoutMs; waited += kPollMs) {
    if (HTREEITEM item = FindShownItem(tree, name)) {
      SendMessageA(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(item));
      return SelectedItem(tree) == item;
    }
    Sleep(kPollMs);
  }
  return false;
}

std::string TextOf(HWND dialog, int id) {
  HWND window = id ? GetDlgItem(dialog, id) : dialog;
  char text[1024] = {};
  // WM_GETTEXT reaches a window of another thread; GetWindowText would not for controls.
  SendMessageA(window, WM_GETTEXT, sizeof(text), reinterpret_cast<LPARAM>(text));
  return text;
}

RECT ClientRectOf(HWND dialog, int id) {
  RECT rect{};
  GetWindowRect(GetDlgItem(dialog, id), &rect);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rect), 2);
  return rect;
}

void PressEscape(HWND dialog) {
  PostMessageA(dialog, WM_KEYDOWN, VK_ESCAPE, 0x00010001);
}

HWND FocusOf(HWND dialog) {
  const DWORD thread = GetWindowThreadProcessId(dialog, nullptr);
  HWND focus = nullptr;
  for (int attempt = 0; attempt < 20; ++attempt) {
    GUITHREADINFO info{};
    info.cbSize = sizeof(info);
    if (GetGUIThreadInfo(thread, &info) && info.hwndActive == dialog && info.hwndFocus) {
      focus = info.hwndFocus;
      break;
    }
    // Activation brings back the focus the dialog manager kept for the dialog.
    SetForegroundWindow(dialog);
    Sleep(50);
  }
  return focus;
}

}  // namespace qbrk::test
