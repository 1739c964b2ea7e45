#include "host_process.h"

#include <cstdlib>
#include <sstream>

namespace qbrk::e2e {

namespace {

constexpr int kPollMs = 20;

struct FindRequest {
  DWORD process_id;
  const std::string* caption;
  HWND found;
};

// Other test programs show dialogs of the same titles on the same display: only the host's.
BOOL CALLBACK MatchDialog(HWND window, LPARAM data) {
  auto* request = reinterpret_cast<FindRequest*>(data);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  char title[256] = {};
  char window_class[16] = {};
  GetWindowTextA(window, title, sizeof title);
  GetClassNameA(window, window_class, sizeof window_class);
  if (process != request->process_id || !IsWindowVisible(window) ||
      std::string(window_class) != "#32770" || title != *request->caption)
    return TRUE;
  request->found = window;
  return FALSE;
}

}  // namespace

HostProcess::~HostProcess() {
  if (info_.hProcess) {
    TerminateProcess(info_.hProcess, 1);  // nothing happens when it has ended
    CloseHandle(info_.hProcess);
  }
  if (output_pipe_) CloseHandle(output_pipe_);
}

bool HostProcess::Start(const std::string& arguments) {
  SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE write_end = nullptr;
  if (!CreatePipe(&output_pipe_, &write_end, &inherit, 0)) return false;
  SetHandleInformation(output_pipe_, HANDLE_FLAG_INHERIT, 0);

  char self[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, self, MAX_PATH);
  std::string host(self);
  host = host.substr(0, host.find_last_of('\\') + 1) + "qbrk-host.exe";
  std::string command_line = "\"" + host + "\" " + arguments;
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = write_end;
  startup.hStdError = write_end;
  const BOOL started = CreateProcessA(nullptr, command_line.data(), nullptr, nullptr, TRUE, 0,
                                      nullptr, nullptr, &startup, &info_);
  // Only the host may hold the write end, or the pipe never reports its end.
  CloseHandle(write_end);
  if (started) CloseHandle(info_.hThread);
  return started;
}

void HostProcess::Drain() {
  DWORD available = 0;
  while (PeekNamedPipe(output_pipe_, nullptr, 0, nullptr, &available, nullptr) && available) {
    char chunk[4096];
    DWORD read = 0;
    if (!ReadFile(output_pipe_, chunk, sizeof chunk, &read, nullptr) || read == 0) return;
    output_.append(chunk, read);
  }
}

bool HostProcess::Wait(int timeout_ms) {
  for (int waited = 0; info_.hProcess; waited += kPollMs) {
    Drain();
    if (WaitForSingleObject(info_.hProcess, kPollMs) == WAIT_OBJECT_0) {
      Drain();
      return true;
    }
    if (waited >= timeout_ms) break;
  }
  return false;
}

HWND HostProcess::WaitForDialog(const std::string& caption) const {
  for (int waited = 0; waited < 10000; waited += kPollMs) {
    FindRequest request{info_.dwProcessId, &caption, nullptr};
    EnumWindows(MatchDialog, reinterpret_cast<LPARAM>(&request));
    if (request.found) return request.found;
    Sleep(kPollMs);
  }
  return nullptr;
}

void PressButton(HWND dialog, int id) {
  PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

std::vector<CallReport> ParseHostOutput(const std::string& output) {
  std::vector<CallReport> calls;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const size_t arrow = line.find(" -> ");
    if (line.rfind("  ", 0) != 0) {
      if (arrow == std::string::npos) continue;
      calls.emplace_back();
      calls.back().name = line.substr(0, arrow);
      calls.back().result = std::atoll(line.c_str() + arrow + 4);
      continue;
    }
    if (calls.empty()) continue;
    const std::string detail = line.substr(2);
    if (detail.rfind("sent ", 0) == 0 || detail.rfind("posted ", 0) == 0)
      calls.back().messages.push_back(detail);
    else if (detail.rfind("took ", 0) == 0)
      calls.back().took_ms = std::atoll(detail.c_str() + 5);
    else
      calls.back().notes.push_back(detail);
  }
  return calls;
}

}  // namespace qbrk::e2e
