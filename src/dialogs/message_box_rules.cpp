#include "dialogs/message_box_rules.h"

namespace qbrk {

namespace {

constexpr const char kConfirm[] = "確認(&C)";
constexpr const char kCancelCaption[] = "キャンセル";
constexpr const char kAbortCaption[] = "中止(&A)";
constexpr const char kRetryCaption[] = "再試行(&R)";
constexpr const char kIgnoreCaption[] = "無視(&I)";
constexpr const char kYesCaption[] = "はい(&Y)";
constexpr const char kNoCaption[] = "いいえ(&N)";

constexpr BoxButtonRule kHidden{nullptr, 0, false};

}  // namespace

BoxLayoutRule LayoutRuleFor(uint32_t type) {
  using namespace box_result;
  switch (type & kBoxLayoutMask) {
    case 0:
      return {{{{kConfirm, kOk, true}, kHidden, kHidden}}, false, false};
    case 1:
      return {{{{kConfirm, kOk, true}, {kCancelCaption, kCancel, true}, kHidden}}, true, false};
    case 2:
      return {{{{kAbortCaption, kAbort, true},
                {kRetryCaption, kRetry, true},
                {kIgnoreCaption, kIgnore, true}}},
              false,
              true};
    case 3:
      return {
          {{{kYesCaption, kYes, true}, {kNoCaption, kNo, true}, {kCancelCaption, kCancel, true}}},
          true,
          true};
    case 4:
      return {{{{kYesCaption, kYes, true}, {kNoCaption, kNo, true}, kHidden}}, false, false};
    case 5:
      return {
          {{{kRetryCaption, kRetry, true}, {kCancelCaption, kCancel, true}, kHidden}}, true, false};
    default:
      return {};  // template captions, all shown, no results
  }
}

BoxIcon IconFor(uint32_t type) {
  switch (type & kBoxIconMask) {
    case 0x10:
      return BoxIcon::kHand;
    case 0x20:
      return BoxIcon::kQuestion;
    case 0x40:
      return BoxIcon::kAsterisk;
    default:
      return BoxIcon::kExclamation;
  }
}

BoxButton DefaultButtonFor(uint32_t type) {
  BoxButton chosen = BoxButton::kFirst;
  switch (type & kBoxDefaultMask) {
    case 0x100:
      chosen = BoxButton::kSecond;
      break;
    case 0x200:
      chosen = BoxButton::kThird;
      break;
    case 0x300:
      chosen = BoxButton::kStatus;
      break;
  }
  // A hidden button cannot take the focus, and Enter must not press an invisible button.
  return VisibleButtons(type)[static_cast<int>(chosen)] ? chosen : BoxButton::kFirst;
}

std::array<bool, kBoxButtonCount> VisibleButtons(uint32_t type) {
  const BoxLayoutRule rule = LayoutRuleFor(type);
  return {rule.buttons[0].visible, rule.buttons[1].visible, rule.buttons[2].visible,
          (type & kBoxStatusButton) != 0};
}

int VisibleButtonCount(uint32_t type) {
  int count = 0;
  for (bool visible : VisibleButtons(type))
    count += visible ? 1 : 0;
  return count;
}

}  // namespace qbrk
