#include "model_text.h"

#include "common/file_time.h"

namespace qbrk::model {

namespace {

constexpr int64_t kUnixEpochSeconds = 11644473600;  // 1601 to 1970

}  // namespace

int64_t UnixSeconds(uint64_t file_time) {
  return static_cast<int64_t>(file_time / kFileTimeTicksPerSecond) - kUnixEpochSeconds;
}

std::optional<uint64_t> FileTimeOfUnixSeconds(int64_t seconds) {
  if (seconds < -kUnixEpochSeconds) return std::nullopt;
  return static_cast<uint64_t>(seconds + kUnixEpochSeconds) * kFileTimeTicksPerSecond;
}

std::string HttpDate(uint64_t file_time) {
  return emulator::FormatHttpDate(UnixSeconds(file_time));
}

void AppendHex(std::string* out, uint64_t value, int width) {
  char digits[16];
  int n = 0;
  do {
    digits[n++] = "0123456789abcdef"[value & 15];
    value >>= 4;
  } while (value != 0 || n < width);
  while (n > 0)
    *out += digits[--n];
}

}  // namespace qbrk::model
