// The host stand-in, qbrk-host.exe, run from beside this program as a process of its own, as
// the tray program would run: its output is captured, its waits are bounded, and its dialogs
// can be found and answered from here.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace qbrk::e2e {

class HostProcess {
 public:
  HostProcess() = default;
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;
  // A host still running is terminated: a broken run must not hang the tests.
  ~HostProcess();

  // Starts "qbrk-host.exe <arguments>". False when it cannot be started.
  bool Start(const std::string& arguments);
  // Waits at most `timeout_ms` for the host to end, collecting its output; false when it had
  // to be terminated.
  bool Wait(int timeout_ms);
  const std::string& output() const { return output_; }

  // A visible dialog of this host titled `caption`, waiting up to ten seconds; null if none.
  HWND WaitForDialog(const std::string& caption) const;

 private:
  void Drain();

  PROCESS_INFORMATION info_{};
  HANDLE output_pipe_ = nullptr;
  std::string output_;
};

// Presses a dialog's button from outside its process, without waiting for it to be handled.
void PressButton(HWND dialog, int id);

// One call as the host reports it: "NAME -> RESULT" and the indented lines below it.
struct CallReport {
  std::string name;
  long long result = -1;
  std::vector<std::string> messages;  // "sent 32779 1", "posted 32780 1", in order
  long long took_ms = -1;             // with --timing
  std::vector<std::string> notes;     // buffers and items
};

std::vector<CallReport> ParseHostOutput(const std::string& output);

}  // namespace qbrk::e2e
