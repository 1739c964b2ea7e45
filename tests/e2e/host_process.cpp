#include "host_process.h"

#include <cstdlib>
#include <sstream>

namespace qbrk::e2e {

namespace {

std::string HostPath() {
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string folder(path);
  return folder.substr(0, folder.find_last_of('\\') + 1) + "qbrk-host.exe";
}

struct FindRequest {
  DWORD process_id;
  const std::string* caption;
  HWND found;
};

BOOL CALLBACK MatchDialog(HWND window, LPARAM data) {
  auto* request = reinterpret_cast<FindRequest*>(data);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  char title[256] = {};
  char window_class[16] = {};
  GetWindowTextA(window, title, sizeof title);
  GetClassNameA(window, window_class, sizeof window_class);
  if (process == request->process_id && IsWindowVisible(window) &&
      std::string(window_class) == "#32770" && title == *request->caption) {
    request->found = window;
    return FALSE;
  }
  return TRUE;
}

}  // namespace

HostProcess::~HostProcess() {
  if (process_ && Running()) TerminateProcess(process_, 1);
  if (reader_.joinable()) reader_.join();
  if (output_pipe_) CloseHandle(output_pipe_);
  if (process_) CloseHandle(process_);
}

bool HostProcess::Start(const std::string& arguments) {
  SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE write_end = nullptr;
  if (!CreatePipe(&output_pipe_, &write_end, &inherit, 0)) return false;
  SetHandleInformation(output_pipe_, HANDLE_FLAG_INHERIT, 0);

  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = write_end;
  startup.hStdError = write_end;
  std::string command_line = "\"" + HostPath() + "\" " + arguments;
  PROCESS_INFORMATION info{};
  const BOOL started = CreateProcessA(nullptr, command_line.data(), nullptr, nullptr, TRUE, 0,
                                      nullptr, nullptr, &startup, &info);
  // Only the host may hold the write end, or the pipe never reports its end.
  CloseHandle(write_end);
  if (!started) return false;
  CloseHandle(info.hThread);
  process_ = info.hProcess;
  process_id_ = info.dwProcessId;
  reader_ = std::thread([this] { ReadOutput(); });
  return true;
}

void HostProcess::ReadOutput() {
  char chunk[4096];
  DWORD read = 0;
  while (ReadFile(output_pipe_, chunk, sizeof chunk, &read, nullptr) && read > 0) {
    std::lock_guard<std::mutex> lock(mutex_);
    output_.append(chunk, read);
  }
}

bool HostProcess::Wait(int timeout_ms) {
  if (!process_) return false;
  const bool ended = WaitForSingleObject(process_, timeout_ms) == WAIT_OBJECT_0;
  if (!ended) TerminateProcess(process_, 1);
  if (reader_.joinable()) reader_.join();
  return ended;
}

bool HostProcess::Running() const {
  return process_ && WaitForSingleObject(process_, 0) == WAIT_TIMEOUT;
}

std::string HostProcess::Output() {
  std::lock_guard<std::mutex> lock(mutex_);
  return output_;
}

HWND HostProcess::WaitForDialog(const std::string& caption, int timeout_ms) const {
  for (int waited = 0; waited <= timeout_ms && Running(); waited += 20) {
    FindRequest request{process_id_, &caption, nullptr};
    EnumWindows(MatchDialog, reinterpret_cast<LPARAM>(&request));
    if (request.found) return request.found;
    Sleep(20);
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
    if (line.rfind("  ", 0) != 0 && arrow != std::string::npos) {
      calls.push_back({line.substr(0, arrow), std::atoll(line.c_str() + arrow + 4), {}, -1, {}});
    } else if (!calls.empty() && line.rfind("  ", 0) == 0) {
      const std::string detail = line.substr(2);
      if (detail.rfind("sent ", 0) == 0 || detail.rfind("posted ", 0) == 0) {
        calls.back().messages.push_back(detail);
      } else if (detail.rfind("took ", 0) == 0) {
        calls.back().took_ms = std::atoll(detail.c_str() + 5);
      } else {
        calls.back().notes.push_back(detail);
      }
    }
  }
  return calls;
}

}  // namespace qbrk::e2e
