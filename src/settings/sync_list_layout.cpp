#include "settings/sync_list_layout.h"

namespace qbrk {

namespace {

// The words in stored order.
std::array<int32_t*, 13> Words(SyncListLayout& layout) {
  std::array<int32_t*, 13> words{};
  size_t i = 0;
  words[i++] = &layout.version;
  words[i++] = &layout.width;
  words[i++] = &layout.height;
  for (int32_t& w : layout.column_widths)
    words[i++] = &w;
  for (int32_t& o : layout.column_order)
    words[i++] = &o;
  return words;
}

}  // namespace

std::vector<uint8_t> EncodeSyncListLayout(const SyncListLayout& layout) {
  SyncListLayout copy = layout;
  std::vector<uint8_t> out;
  out.reserve(kSyncListLayoutSize);
  for (int32_t* word : Words(copy)) {
    const uint32_t bits = static_cast<uint32_t>(*word);
    for (int i = 0; i < 4; ++i)
      out.push_back(static_cast<uint8_t>(bits >> (8 * i)));
  }
  return out;
}

bool DecodeSyncListLayout(const std::vector<uint8_t>& bytes, SyncListLayout* layout) {
  if (bytes.size() != kSyncListLayoutSize) return false;
  SyncListLayout decoded;
  size_t at = 0;
  for (int32_t* word : Words(decoded)) {
    const uint32_t bits = uint32_t{bytes[at]} | uint32_t{bytes[at + 1]} << 8 |
                          uint32_t{bytes[at + 2]} << 16 | uint32_t{bytes[at + 3]} << 24;
    *word = static_cast<int32_t>(bits);
    at += 4;
  }
  *layout = decoded;
  return true;
}

}  // namespace qbrk
