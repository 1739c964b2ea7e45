// The three choice dialogs (6003 changed on both sides, 6008 deleted on the server, 6009
// deleted locally) and the engine's question seam built on them.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "sync/choice_prompt.h"

namespace qbrk {

// Shows the dialog for `question` about `name` (the entry's name without its path; shortened
// and shown literally), modal to `owner`. A button writes its answer code through `answer`,
// the even "all files" code when the check box is ticked. Cancel writes 0 in 6008 and leaves
// the word as it was in the other two, so callers set it to 0 first.
void RunChoiceDialog(HWND owner, ChoiceQuestion question, const std::string& name,
                     uint32_t* answer);

// The engine's questions asked by the worker itself, when no progress dialog is attached.
class ModalChoicePrompt final : public ChoicePrompt {
 public:
  explicit ModalChoicePrompt(HWND owner) : owner_(owner) {}
  uint32_t Ask(ChoiceQuestion question, const std::string& name) override;

 private:
  HWND owner_;
};

}  // namespace qbrk
