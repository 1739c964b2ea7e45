#include "dialogs/choice_name.h"

#include "dialogs/shorten_path.h"

namespace qbrk {

std::string ChoiceDisplayName(const std::string& name) {
  const std::string shortened = ShortenPath(name, kChoiceNameBufferSize);
  std::string shown;
  shown.reserve(shortened.size() + 8);
  for (char c : shortened) {
    shown += c;
    if (c == '&') shown += '&';
  }
  return shown;
}

}  // namespace qbrk
