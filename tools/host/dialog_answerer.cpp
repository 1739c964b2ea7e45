#include "dialog_answerer.h"

#include <cstdlib>
#include <utility>

#include "support/screenshot.h"

namespace qbrk_host {

namespace {

constexpr DWORD kPollMs = 100;

std::string WindowText(HWND window) {
  char text[512] = {};
  GetWindowTextA(window, text, sizeof text);
  return text;
}

bool IsDialogOfThisProcess(HWND window) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != GetCurrentProcessId() || !IsWindowVisible(window)) return false;
  char class_name[16] = {};
  GetClassNameA(window, class_name, sizeof class_name);
  return std::string(class_name) == "#32770";
}

BOOL CALLBACK CollectDialog(HWND window, LPARAM found) {
  if (IsDialogOfThisProcess(window)) reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
  return TRUE;
}

}  // namespace

std::optional<AnswerRule> ParseAnswerRule(const std::string& spec) {
  const size_t equals = spec.find('=');
  const std::string id = spec.substr(0, equals);
  if (id.empty() || id.find_first_not_of("0123456789") != std::string::npos || id.size() > 6)
    return std::nullopt;
  AnswerRule rule;
  rule.button = std::atoi(id.c_str());
  if (equals != std::string::npos) rule.text = spec.substr(equals + 1);
  return rule;
}

DialogAnswerer::DialogAnswerer(std::vector<AnswerRule> rules, std::string picture_folder)
    : rules_(std::move(rules)), picture_folder_(std::move(picture_folder)) {
  if (!rules_.empty()) watcher_ = std::thread([this] { Watch(); });
}

DialogAnswerer::~DialogAnswerer() {
  stop_ = true;
  if (watcher_.joinable()) watcher_.join();
}

std::vector<std::string> DialogAnswerer::TakeReport() {
  std::lock_guard<std::mutex> hold(report_lock_);
  std::vector<std::string> out = std::move(report_);
  report_.clear();
  return out;
}

void DialogAnswerer::Watch() {
  while (!stop_) {
    AnswerVisibleDialogs();
    Sleep(kPollMs);
  }
}

void DialogAnswerer::AnswerVisibleDialogs() {
  std::vector<HWND> dialogs;
  EnumWindows(CollectDialog, reinterpret_cast<LPARAM>(&dialogs));
  // A handle of a dialog that has gone may come back as a new dialog.
  for (auto it = answered_.begin(); it != answered_.end();)
    it = IsWindow(*it) ? std::next(it) : answered_.erase(it);
  for (HWND dialog : dialogs)
    if (!answered_.count(dialog) && TryAnswer(dialog)) answered_.insert(dialog);
}

bool DialogAnswerer::TryAnswer(HWND dialog) {
  for (const AnswerRule& rule : rules_) {
    HWND button = GetDlgItem(dialog, rule.button);
    if (!button || !IsWindowVisible(button) || !IsWindowEnabled(button)) continue;
    if (!rule.text.empty() && WindowText(button) != rule.text) continue;
    std::string line = "answered \"" + WindowText(dialog) + "\" with " + std::to_string(rule.button);
    if (!picture_folder_.empty()) {
      const std::string name = "dialog" + std::to_string(++pictures_) + "-button" +
                               std::to_string(rule.button) + ".bmp";
      const bool saved = qbrk::test::SaveWindowPicture(dialog, picture_folder_ + "\\" + name);
      line += saved ? ", saved as " + name : ", not saved";
    }
    // Posted, as a click is: a button that opens a dialog of its own must not hold the watch.
    PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(rule.button, BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
    std::lock_guard<std::mutex> hold(report_lock_);
    report_.push_back(std::move(line));
    return true;
  }
  return false;
}

}  // namespace qbrk_host
