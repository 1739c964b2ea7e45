// How a choice dialog shows the name of the entry it asks about.
#pragma once

#include <string>

namespace qbrk {

// Bytes the shown name may take with "..." and a terminator.
inline constexpr size_t kChoiceNameBufferSize = 44;

// The name cut to the choice dialogs' budget (whole up to 40 bytes, else 40 bytes without a
// split character and "..."), with every "&" doubled so the label shows it instead of
// underlining the next character.
std::string ChoiceDisplayName(const std::string& name);

}  // namespace qbrk
