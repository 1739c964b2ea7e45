// The messages a synchronization job posts to its dialog besides those the protocol layer
// posts itself (1079 progress, 1083 phases 0 and 1, 1085 options, 1090 sign-in) and the
// questions of planning (1086 to 1088, choice_prompt.h).
#pragma once

#include <cstdint>

#include "platform/dialog_link.h"

namespace qbrk::job_message {

// wParam: the path of the vanished mirror folder (text); lParam: the answer word, 1 when
// the user chose another folder.
inline constexpr uint32_t kMirrorVanished = kWmUser + 60;  // 1084
// Execution begins.
inline constexpr uint32_t kExecutionBegins = kWmUser + 51;  // 1075
// The synchronization completed.
inline constexpr uint32_t kCompleted = kWmUser + 52;  // 1076
// wParam: the address of the SyncStatistics, resolved and counted.
inline constexpr uint32_t kResolved = kWmUser + 53;  // 1077
// wParam: the result code (1: cancelled, nothing is shown).
inline constexpr uint32_t kFailed = kWmUser + 54;  // 1078

}  // namespace qbrk::job_message
