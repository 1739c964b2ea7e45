// Size and column layout of the sync list dialog, kept in "SycLstDlg" as 13 signed
// little-endian 32-bit words.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qbrk {

struct SyncListLayout {
  int32_t version = 1;
  int32_t width = 0;   // client area
  int32_t height = 0;  // client area
  std::array<int32_t, 5> column_widths{};
  std::array<int32_t, 5> column_order{};
};

inline constexpr size_t kSyncListLayoutSize = 13 * 4;

std::vector<uint8_t> EncodeSyncListLayout(const SyncListLayout& layout);
// False unless `bytes` is exactly 52 bytes long. The words come back as stored: the dialog
// must still fit them to the screen and to its five columns.
bool DecodeSyncListLayout(const std::vector<uint8_t>& bytes, SyncListLayout* layout);

}  // namespace qbrk
