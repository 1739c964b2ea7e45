#include "refusal.h"

#include "protocol/reason_phrase.h"

namespace qbrk::emulator {

std::string RefusalText(const Refusal& refusal) {
  std::string text(ReasonPhrase(refusal.status));
  if (!refusal.reason.empty()) text += ": " + refusal.reason;
  if (text.back() != '\n') text += '\n';
  return text;
}

}  // namespace qbrk::emulator
