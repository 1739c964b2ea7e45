#include "platform/memory/scripted_dialog_link.h"

#include <algorithm>

namespace qbrk {

bool ScriptedDialogLink::IsAttached() {
  if (!attached_) return false;
  if (polls_left_ == 0) {
    attached_ = false;
    return false;
  }
  if (polls_left_ != SIZE_MAX) --polls_left_;
  ++polls_;
  return true;
}

void ScriptedDialogLink::PostAndWait(uint32_t message, uintptr_t wparam, intptr_t lparam) {
  if (!attached_) return;
  posted_.push_back({message, wparam, lparam});
  if (message == detach_message_ && detach_occurrence_ > 0 && --detach_occurrence_ == 0) {
    attached_ = false;
    return;
  }
  auto handler = handlers_.find(message);
  if (handler != handlers_.end() && handler->second) handler->second(wparam, lparam);
}

void ScriptedDialogLink::DetachAtMessage(uint32_t message, int occurrence) {
  detach_message_ = message;
  detach_occurrence_ = occurrence;
}

void ScriptedDialogLink::DetachAfterPolls(size_t polls) {
  polls_left_ = polls;
}

std::vector<uint32_t> ScriptedDialogLink::messages() const {
  std::vector<uint32_t> out;
  for (const auto& p : posted_)
    out.push_back(p.message);
  return out;
}

size_t ScriptedDialogLink::count(uint32_t message) const {
  return static_cast<size_t>(std::count_if(posted_.begin(), posted_.end(),
                                           [&](const Posted& p) { return p.message == message; }));
}

}  // namespace qbrk
