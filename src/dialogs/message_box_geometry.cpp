#include "dialogs/message_box_geometry.h"

#include <algorithm>

namespace qbrk {

std::vector<std::string> SplitMessageLines(std::string_view text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (true) {
    // "\n" is ASCII and never a trail byte of code page 932, so a plain search is safe.
    const size_t end = text.find('\n', start);
    std::string_view line = text.substr(start, end == std::string_view::npos ? end : end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  return lines;
}

BoxPlacement PlaceMessageBox(const BoxDesign& design, std::span<const int> line_widths,
                             const std::array<bool, kBoxButtonCount>& visible) {
  int widest = 0;
  for (int width : line_widths)
    widest = std::max(widest, width);
  const int lines = std::max<int>(1, static_cast<int>(line_widths.size()));

  const int text_margins = design.text.left + (design.client_width - design.text.right);
  int row_width = 0;
  int shown = 0;
  for (int i = 0; i < kBoxButtonCount; ++i) {
    if (!visible[i]) continue;
    row_width += design.buttons[i].width() + (shown > 0 ? design.button_gap : 0);
    ++shown;
  }
  const int for_text = widest + text_margins;
  const int for_buttons = row_width + 2 * design.button_margin;

  BoxPlacement placed;
  placed.client_width = std::max(for_text, for_buttons);
  const int width_growth = placed.client_width - design.client_width;
  const int height_growth = (lines - 1) * design.text.height();
  placed.client_height = design.client_height + height_growth;

  placed.text = design.text;
  placed.text.right += width_growth;
  placed.text.bottom += height_growth;

  int x = (placed.client_width - row_width) / 2;
  for (int i = 0; i < kBoxButtonCount; ++i) {
    BoxRect button = design.buttons[i];
    if (visible[i]) {
      const int width = button.width();
      button.left = x;
      button.right = x + width;
      button.top += height_growth;
      button.bottom += height_growth;
      x += width + design.button_gap;
    }
    placed.buttons[i] = button;
  }
  return placed;
}

}  // namespace qbrk
