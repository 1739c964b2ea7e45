#include "dialogs/message_box_geometry.h"

#include <gtest/gtest.h>

#include <vector>

namespace qbrk {
namespace {

// A template in device units: 366 x 98 client, text control 60..351 x 26..38 (one 12-pixel
// line), four buttons 75 wide (status 117) on one row at 62..83, 6 pixels apart.
BoxDesign Design() {
  BoxDesign design;
  design.client_width = 366;
  design.client_height = 98;
  design.text = {60, 26, 351, 38};
  design.buttons = {BoxRect{3, 62, 78, 83}, BoxRect{84, 62, 159, 83}, BoxRect{165, 62, 240, 83},
                    BoxRect{246, 62, 363, 83}};
  design.button_gap = 6;
  design.button_margin = 10;
  return design;
}

constexpr std::array<bool, 4> kOnlyFirst = {true, false, false, false};
constexpr std::array<bool, 4> kYesNoCancel = {true, true, true, false};
constexpr std::array<bool, 4> kAll = {true, true, true, true};

// The row's left and right margins are equal (to a pixel) and the gaps are the design gap.
void ExpectCentredRow(const BoxPlacement& placed, const std::array<bool, 4>& visible, int gap) {
  int first = -1;
  int last = -1;
  for (int i = 0; i < 4; ++i) {
    if (!visible[i]) continue;
    if (last >= 0) {
      EXPECT_EQ(placed.buttons[i].left - placed.buttons[last].right, gap) << i;
    } else {
      first = i;
    }
    last = i;
  }
  const int left = placed.buttons[first].left;
  const int right = placed.client_width - placed.buttons[last].right;
  EXPECT_LE(std::abs(left - right), 1) << left << " vs " << right;
}

TEST(MessageBoxGeometryTest, SplitsAtLineFeedsAndDropsCarriageReturns) {
  EXPECT_EQ(SplitMessageLines(""), std::vector<std::string>{""});
  EXPECT_EQ(SplitMessageLines("one"), std::vector<std::string>{"one"});
  EXPECT_EQ(SplitMessageLines("\npath\r\ntwo\n"),
            (std::vector<std::string>{"", "path", "two", ""}));
  // 0x0A is never a trail byte, but 0x5C is: a path with "ソ" stays one line.
  EXPECT_EQ(SplitMessageLines("C:\\\x83\x5C\\x").size(), 1u);
}

TEST(MessageBoxGeometryTest, WideTextWidensTheBoxByTheExtraWidth) {
  const BoxDesign design = Design();
  const std::vector<int> widths = {100, 500, 250};
  const BoxPlacement placed = PlaceMessageBox(design, widths, kOnlyFirst);
  // 500 + left margin 60 + right margin 15.
  EXPECT_EQ(placed.client_width, 575);
  EXPECT_EQ(placed.text.left, 60);
  EXPECT_EQ(placed.text.right, 560);
  ExpectCentredRow(placed, kOnlyFirst, 6);
}

TEST(MessageBoxGeometryTest, FiveLinesGrowByFourLineHeights) {
  const BoxDesign design = Design();
  const std::vector<int> widths = {10, 10, 10, 10, 10};
  const BoxPlacement placed = PlaceMessageBox(design, widths, kYesNoCancel);
  EXPECT_EQ(placed.client_height, 98 + 4 * 12);
  EXPECT_EQ(placed.text.top, 26);
  EXPECT_EQ(placed.text.height(), 5 * 12);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(placed.buttons[i].top, 62 + 48) << i;
    EXPECT_EQ(placed.buttons[i].height(), 21) << i;
    EXPECT_EQ(placed.buttons[i].width(), 75) << i;
  }
  // The hidden status button is left where the template had it.
  EXPECT_EQ(placed.buttons[3], design.buttons[3]);
  ExpectCentredRow(placed, kYesNoCancel, 6);
}

TEST(MessageBoxGeometryTest, ShortTextTakesTheWidthTheButtonsNeed) {
  const BoxDesign design = Design();
  const std::vector<int> widths = {40};
  // Four buttons: 75 * 3 + 117 + 3 gaps of 6 = 360, plus two margins of 10.
  const BoxPlacement all = PlaceMessageBox(design, widths, kAll);
  EXPECT_EQ(all.client_width, 380);
  EXPECT_EQ(all.text.right, 380 - 15);
  EXPECT_EQ(all.buttons[0].left, 10);
  EXPECT_EQ(all.buttons[3].right, 370);
  ExpectCentredRow(all, kAll, 6);
  // One button: the text decides (40 + 75 > 75 + 20), and the box narrows.
  const BoxPlacement one = PlaceMessageBox(design, widths, kOnlyFirst);
  EXPECT_EQ(one.client_width, 115);
  EXPECT_EQ(one.client_height, 98);
  ExpectCentredRow(one, kOnlyFirst, 6);
}

TEST(MessageBoxGeometryTest, ButtonsKeepTheirOrderWhenOneInTheMiddleIsHidden) {
  const BoxDesign design = Design();
  const std::array<bool, 4> first_and_status = {true, false, false, true};
  const BoxPlacement placed = PlaceMessageBox(design, std::vector<int>{300}, first_and_status);
  EXPECT_LT(placed.buttons[0].right, placed.buttons[3].left);
  ExpectCentredRow(placed, first_and_status, 6);
}

TEST(MessageBoxGeometryTest, NoMeasuredLinesCountsAsOneEmptyLine) {
  const BoxPlacement placed = PlaceMessageBox(Design(), std::vector<int>{}, kOnlyFirst);
  EXPECT_EQ(placed.client_height, 98);
  EXPECT_EQ(placed.text.height(), 12);
}

}  // namespace
}  // namespace qbrk
