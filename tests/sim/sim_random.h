// The simulation's source of choices: SplitMix64, so that a seed replays the same scenario on
// every build, 32-bit or 64-bit.
#pragma once

#include <cstdint>
#include <vector>

namespace qbrk::sim {

class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  uint64_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  // A number in [0, n); 0 when n is 0.
  uint64_t Below(uint64_t n) { return n == 0 ? 0 : Next() % n; }
  // True `percent` times in a hundred.
  bool Chance(uint32_t percent) { return Below(100) < percent; }
  template <typename T>
  const T& Pick(const std::vector<T>& items) {
    return items[static_cast<size_t>(Below(items.size()))];
  }

 private:
  uint64_t state_;
};

}  // namespace qbrk::sim
