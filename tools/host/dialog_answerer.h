// Answers the dialogs the library opens in this process, as a person at the tray program
// would: each rule names a button, and any visible dialog that has that button (enabled, and
// reading the rule's text when it gives one) gets it pressed, once per dialog. Lets scripts
// drive a synchronization that asks questions without a second program.
#pragma once

#include <windows.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace qbrk_host {

struct AnswerRule {
  int button = 0;
  std::string text;  // empty: whatever the button reads
};

// "ID" or "ID=TEXT" (TEXT in the process's code page); nothing when ID is not a number.
std::optional<AnswerRule> ParseAnswerRule(const std::string& spec);

class DialogAnswerer {
 public:
  // `picture_folder`: when not empty, each dialog is saved there as
  // "dialog<N>-button<ID>.bmp" just before it is answered (N counts from 1).
  DialogAnswerer(std::vector<AnswerRule> rules, std::string picture_folder);
  DialogAnswerer(const DialogAnswerer&) = delete;
  DialogAnswerer& operator=(const DialogAnswerer&) = delete;
  ~DialogAnswerer();

  // One line per dialog answered ("answered CAPTION with ID"), taken since the last call.
  std::vector<std::string> TakeReport();

 private:
  void Watch();
  void AnswerVisibleDialogs();
  bool TryAnswer(HWND dialog);

  std::vector<AnswerRule> rules_;
  std::string picture_folder_;
  std::set<HWND> answered_;
  int pictures_ = 0;
  std::mutex report_lock_;
  std::vector<std::string> report_;
  std::atomic<bool> stop_{false};
  std::thread watcher_;
};

}  // namespace qbrk_host
