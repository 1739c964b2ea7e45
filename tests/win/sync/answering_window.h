// A hidden window of the test's thread that plays a progress dialog for a job run on a
// worker thread: it answers each worker message as the dialog would (questions from a
// script), records what arrived, can close itself at a chosen message, and pumps until the
// worker has ended.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/dialog_link.h"
#include "platform/win32/job_link.h"

namespace qbrk::test {

class AnsweringWindow {
 public:
  AnsweringWindow();
  ~AnsweringWindow();
  AnsweringWindow(const AnsweringWindow&) = delete;
  AnsweringWindow& operator=(const AnsweringWindow&) = delete;

  // Runs `job` on a worker thread with a DialogLink to this window and pumps until it ends.
  // False when the window or the link could not be made.
  bool Run(const std::function<void(DialogLink& link)>& job);

  // The answer word written for `message` (questions 1084 to 1090); 0 when not set.
  void Answer(uint32_t message, uint32_t answer) { answers_[message] = answer; }
  // Runs before the answer is written, on the window's thread, while the worker waits.
  void OnMessage(uint32_t message, std::function<void(WPARAM, LPARAM)> handler) {
    handlers_[message] = std::move(handler);
  }
  // The user cancels when the `occurrence`-th `message` arrives (it is still answered).
  void CancelAt(uint32_t message, int occurrence = 1) {
    cancel_message_ = message;
    cancel_left_ = occurrence;
  }

  // Messages received, without the per-block progress (1079).
  const std::vector<uint32_t>& messages() const { return messages_; }
  std::vector<WPARAM> wparams(uint32_t message) const;
  size_t progress() const { return progress_; }

 private:
  static LRESULT CALLBACK Proc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void Handle(UINT message, WPARAM wparam, LPARAM lparam);

  HWND window_ = nullptr;
  JobDialogEndpoint endpoint_;
  std::map<uint32_t, uint32_t> answers_;
  std::map<uint32_t, std::function<void(WPARAM, LPARAM)>> handlers_;
  uint32_t cancel_message_ = 0;
  int cancel_left_ = 0;
  std::vector<uint32_t> messages_;
  std::vector<std::pair<uint32_t, WPARAM>> params_;
  size_t progress_ = 0;
};

}  // namespace qbrk::test
