// What the library's message box shows for a set of type flags, which use the system message
// box's encoding: bits 0-3 the button layout, 4-7 the icon, 8-11 the default button, and bit 14
// the extra status button.
#pragma once

#include <array>
#include <cstdint>

namespace qbrk {

// Button results, as the system message box returns them.
namespace box_result {
inline constexpr uint32_t kOk = 1;
inline constexpr uint32_t kCancel = 2;
inline constexpr uint32_t kAbort = 3;
inline constexpr uint32_t kRetry = 4;
inline constexpr uint32_t kIgnore = 5;
inline constexpr uint32_t kYes = 6;
inline constexpr uint32_t kNo = 7;
// What the box returns when its dialog cannot be created.
inline constexpr uint32_t kNotShown = 0xFFFFFFFF;
}  // namespace box_result

inline constexpr uint32_t kBoxLayoutMask = 0x0000000F;
inline constexpr uint32_t kBoxIconMask = 0x000000F0;
inline constexpr uint32_t kBoxDefaultMask = 0x00000F00;
inline constexpr uint32_t kBoxStatusButton = 0x00004000;

// The four buttons, in the order they stand in their row.
enum class BoxButton { kFirst = 0, kSecond = 1, kThird = 2, kStatus = 3 };
inline constexpr int kBoxButtonCount = 4;

struct BoxButtonRule {
  const char* caption = nullptr;  // null: keep the template's caption
  uint32_t result = 0;            // 0: pressing it does nothing
  bool visible = true;
};

struct BoxLayoutRule {
  // Buttons 1 to 3; the status button is governed by bit 14 alone.
  std::array<BoxButtonRule, 3> buttons;
  // The layout has a cancel button.
  bool cancel_allowed = false;
  // The cancel command (button 3, Escape) ends the box, with button 3's result.
  bool cancel_command_ends = false;
};

// Layouts 0 to 5 have Japanese captions and results; 6 to 15 keep the template as it is and
// none of their buttons does anything.
BoxLayoutRule LayoutRuleFor(uint32_t type);

enum class BoxIcon { kHand, kQuestion, kAsterisk, kExclamation };
BoxIcon IconFor(uint32_t type);

// The button that is the default and gets the focus; button 1 when the chosen one is hidden.
BoxButton DefaultButtonFor(uint32_t type);

// Whether each button in row order (1, 2, 3, status) is shown.
std::array<bool, kBoxButtonCount> VisibleButtons(uint32_t type);
int VisibleButtonCount(uint32_t type);

}  // namespace qbrk
