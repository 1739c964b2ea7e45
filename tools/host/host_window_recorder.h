// The host's hidden window and the record of the commands it receives.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace qbrk_host {

struct RecordedCommand {
  bool sent;     // SendMessage (true) or PostMessage (false)
  UINT id;       // WM_COMMAND identifier (low word of wParam)
  LPARAM value;  // the second parameter
};

class HostWindowRecorder {
 public:
  // Registers "HvqbrkCls", creates the hidden window and hooks the thread's messages.
  // On failure `error` says which step failed (the hooks need a display under Wine).
  bool Create(std::string* error);
  ~HostWindowRecorder();

  HWND window() const { return window_; }
  // Dispatches what is queued for this thread.
  void Pump();
  // Commands received since the last call.
  std::vector<RecordedCommand> TakeCommands();

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  static LRESULT CALLBACK SentHook(int code, WPARAM wparam, LPARAM lparam);
  static LRESULT CALLBACK PostedHook(int code, WPARAM wparam, LPARAM lparam);

  HWND window_ = nullptr;
  HHOOK sent_hook_ = nullptr;
  HHOOK posted_hook_ = nullptr;
};

}  // namespace qbrk_host
