// A DialogLink for tests: records every message a worker posts, answers questions through a
// callback per message (which fills the record and the answer word the way the dialog
// would), and can close the dialog at a chosen message or after a number of cancellation
// polls, so a test can cancel a job at any step.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "platform/dialog_link.h"

namespace qbrk {

class ScriptedDialogLink final : public DialogLink {
 public:
  struct Posted {
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
  };
  // Plays the dialog's handler for one message: wparam and lparam as posted.
  using Handler = std::function<void(uintptr_t wparam, intptr_t lparam)>;

  bool IsAttached() override;
  void PostAndWait(uint32_t message, uintptr_t wparam, intptr_t lparam) override;

  // The handler of `message` (replaces an earlier one). Messages without one are only
  // recorded, leaving any answer word as it was.
  void OnMessage(uint32_t message, Handler handler) { handlers_[message] = std::move(handler); }
  // The dialog closes when the `occurrence`-th `message` arrives: that message is recorded but
  // not handled, and the link is detached from then on.
  void DetachAtMessage(uint32_t message, int occurrence = 1);
  // The dialog closes after `polls` more calls of IsAttached have answered true.
  void DetachAfterPolls(size_t polls);
  void Detach() { attached_ = false; }

  const std::vector<Posted>& posted() const { return posted_; }
  // The posted message numbers, in order.
  std::vector<uint32_t> messages() const;
  // How often `message` was posted.
  size_t count(uint32_t message) const;
  size_t polls() const { return polls_; }

 private:
  bool attached_ = true;
  size_t polls_ = 0;
  size_t polls_left_ = SIZE_MAX;
  uint32_t detach_message_ = 0;
  int detach_occurrence_ = 0;
  std::map<uint32_t, Handler> handlers_;
  std::vector<Posted> posted_;
};

}  // namespace qbrk
