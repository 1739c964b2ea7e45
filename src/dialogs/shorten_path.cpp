#include "dialogs/shorten_path.h"

#include "common/mbcs.h"

namespace qbrk {

namespace {
constexpr char kEllipsis[] = "...";
constexpr size_t kReserved = 4;  // "..." and the terminator
}  // namespace

std::string ShortenPath(const std::string& text, size_t buffer_size) {
  const size_t budget = buffer_size >= kReserved ? buffer_size - kReserved : 0;
  if (text.size() <= budget) return text;
  if (buffer_size < kReserved) return std::string();

  // Walk from the start: only then is it known which bytes are lead bytes.
  size_t kept = 0;
  while (kept < budget) {
    const bool lead = IsLeadByte(static_cast<unsigned char>(text[kept]));
    const size_t width = lead && kept + 1 < text.size() ? 2 : 1;
    if (kept + width > budget) break;
    kept += width;
  }
  return text.substr(0, kept) + kEllipsis;
}

}  // namespace qbrk
