// The worker-to-dialog messages the protocol layer posts, and the answer word's OK value.
#pragma once

#include <cstdint>

#include "platform/dialog_link.h"

namespace qbrk {

namespace worker_message {
// wParam: bytes of the block just sent or received.
inline constexpr uint32_t kProgress = kWmUser + 55;  // 1079
// wParam: status index (0 connecting, 1 authenticating, 2 collecting information).
inline constexpr uint32_t kStatus = kWmUser + 59;  // 1083
// wParam: the options record; lParam: the answer word.
inline constexpr uint32_t kOptions = kWmUser + 61;  // 1085
// wParam: a SignInRecord; lParam: the answer word.
inline constexpr uint32_t kSignIn = kWmUser + 66;  // 1090
}  // namespace worker_message

namespace status_index {
inline constexpr uintptr_t kConnecting = 0;
inline constexpr uintptr_t kAuthenticating = 1;
inline constexpr uintptr_t kCollecting = 2;
}  // namespace status_index

// The answer word of a dialog that ended with OK (IDOK).
inline constexpr uint32_t kAnswerOk = 1;

}  // namespace qbrk
