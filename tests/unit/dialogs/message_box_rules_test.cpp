#include "dialogs/message_box_rules.h"

#include <gtest/gtest.h>

#include <string>

namespace qbrk {
namespace {

struct Expected {
  uint32_t layout;
  const char* captions[3];  // null: hidden
  uint32_t results[3];
  bool cancel_allowed;
  bool cancel_command_ends;
};

std::string Caption(const BoxButtonRule& button) {
  return button.caption ? button.caption : "(template)";
}

TEST(MessageBoxRulesTest, LayoutsZeroToFiveHaveJapaneseButtonsAndResults) {
  const Expected table[] = {
      {0, {"確認(&C)", nullptr, nullptr}, {1, 0, 0}, false, false},
      {1, {"確認(&C)", "キャンセル", nullptr}, {1, 2, 0}, true, false},
      {2, {"中止(&A)", "再試行(&R)", "無視(&I)"}, {3, 4, 5}, false, true},
      {3, {"はい(&Y)", "いいえ(&N)", "キャンセル"}, {6, 7, 2}, true, true},
      {4, {"はい(&Y)", "いいえ(&N)", nullptr}, {6, 7, 0}, false, false},
      {5, {"再試行(&R)", "キャンセル", nullptr}, {4, 2, 0}, true, false},
  };
  for (const Expected& row : table) {
    // The other fields of the flags never change the layout.
    const BoxLayoutRule rule = LayoutRuleFor(row.layout | 0x4000 | 0x230);
    for (int i = 0; i < 3; ++i) {
      SCOPED_TRACE(testing::Message() << "layout " << row.layout << " button " << i + 1);
      EXPECT_EQ(rule.buttons[i].visible, row.captions[i] != nullptr);
      if (row.captions[i]) {
        EXPECT_EQ(Caption(rule.buttons[i]), row.captions[i]);
        EXPECT_EQ(rule.buttons[i].result, row.results[i]);
      }
    }
    EXPECT_EQ(rule.cancel_allowed, row.cancel_allowed) << row.layout;
    EXPECT_EQ(rule.cancel_command_ends, row.cancel_command_ends) << row.layout;
  }
}

TEST(MessageBoxRulesTest, LayoutsSixToFifteenKeepTheTemplateAndDoNothing) {
  for (uint32_t layout = 6; layout <= 15; ++layout) {
    const BoxLayoutRule rule = LayoutRuleFor(layout);
    for (const BoxButtonRule& button : rule.buttons) {
      EXPECT_EQ(button.caption, nullptr) << layout;
      EXPECT_EQ(button.result, 0u) << layout;
      EXPECT_TRUE(button.visible) << layout;
    }
    EXPECT_FALSE(rule.cancel_command_ends) << layout;
    EXPECT_EQ(VisibleButtonCount(layout), 3) << layout;
  }
}

TEST(MessageBoxRulesTest, IconFollowsBitsFourToSeven) {
  EXPECT_EQ(IconFor(0x10), BoxIcon::kHand);
  EXPECT_EQ(IconFor(0x20 | 0x4), BoxIcon::kQuestion);
  EXPECT_EQ(IconFor(0x40 | 0x100), BoxIcon::kAsterisk);
  for (uint32_t other : {0x00u, 0x30u, 0x50u, 0x70u, 0xF0u}) {
    EXPECT_EQ(IconFor(other), BoxIcon::kExclamation) << other;
  }
}

TEST(MessageBoxRulesTest, DefaultButtonFollowsBitsEightToEleven) {
  EXPECT_EQ(DefaultButtonFor(3), BoxButton::kFirst);
  EXPECT_EQ(DefaultButtonFor(3 | 0x100), BoxButton::kSecond);
  EXPECT_EQ(DefaultButtonFor(3 | 0x200), BoxButton::kThird);
  EXPECT_EQ(DefaultButtonFor(3 | 0x300 | 0x4000), BoxButton::kStatus);
  EXPECT_EQ(DefaultButtonFor(3 | 0x400), BoxButton::kFirst);
  // The confirmations' style 308: yes/no, exclamation, "no" as default.
  EXPECT_EQ(DefaultButtonFor(308), BoxButton::kSecond);
}

TEST(MessageBoxRulesTest, ADefaultThatIsHiddenFallsBackToTheFirstButton) {
  EXPECT_EQ(DefaultButtonFor(0 | 0x100), BoxButton::kFirst);
  EXPECT_EQ(DefaultButtonFor(4 | 0x200), BoxButton::kFirst);
  EXPECT_EQ(DefaultButtonFor(2 | 0x300), BoxButton::kFirst);  // no status button
}

TEST(MessageBoxRulesTest, VisibleCountAddsTheStatusButtonForBitFourteen) {
  EXPECT_EQ(VisibleButtonCount(0), 1);
  EXPECT_EQ(VisibleButtonCount(0 | 0x4000), 2);
  EXPECT_EQ(VisibleButtonCount(1), 2);
  EXPECT_EQ(VisibleButtonCount(2), 3);
  EXPECT_EQ(VisibleButtonCount(3 | 0x4000), 4);
  EXPECT_EQ(VisibleButtonCount(4), 2);
  EXPECT_EQ(VisibleButtonCount(5 | 0x4000), 3);
  const auto shown = VisibleButtons(1 | 0x4000);
  EXPECT_TRUE(shown[0] && shown[1] && !shown[2] && shown[3]);
}

}  // namespace
}  // namespace qbrk
