// HTTP dates: whatever parses formats back to a date that parses to the same time.
#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/http_date.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  uint64_t time = 0;
  if (!qbrk::ParseHttpDate(text, &time)) return 0;
  std::string formatted;
  if (!qbrk::FormatHttpDate(time, &formatted)) __builtin_trap();
  uint64_t again = 0;
  if (!qbrk::ParseHttpDate(formatted, &again) || again != time) __builtin_trap();
  return 0;
}
