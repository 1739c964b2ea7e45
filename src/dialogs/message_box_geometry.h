// The message box sizes itself to its text: this is the arithmetic, on plain numbers (device
// units), so that it can be checked without a window.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dialogs/message_box_rules.h"

namespace qbrk {

struct BoxRect {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;

  int width() const { return right - left; }
  int height() const { return bottom - top; }
  bool operator==(const BoxRect&) const = default;
};

// The box as its template draws it: a text control one line high and a row of buttons.
struct BoxDesign {
  int client_width = 0;
  int client_height = 0;
  BoxRect text;
  std::array<BoxRect, kBoxButtonCount> buttons;  // row order: 1, 2, 3, status
  int button_gap = 0;                            // between neighbouring visible buttons
  int button_margin = 0;  // least room between the row and either side of the box
};

struct BoxPlacement {
  int client_width = 0;
  int client_height = 0;
  BoxRect text;
  std::array<BoxRect, kBoxButtonCount> buttons;  // hidden buttons keep their design place
};

// The lines of a message as the text control shows them: split at "\n", with a "\r" before
// the break dropped (it has no width on screen). An empty text is one empty line.
std::vector<std::string> SplitMessageLines(std::string_view text);

// Widens (or narrows) the box to the wider of the widest line with the text control's side
// margins and the row of visible buttons with its margins; grows the text control and the box
// by one design line height per line beyond the first; moves the visible buttons down by that
// growth and centres them as a row with the design gap.
BoxPlacement PlaceMessageBox(const BoxDesign& design, std::span<const int> line_widths,
                             const std::array<bool, kBoxButtonCount>& visible);

}  // namespace qbrk
