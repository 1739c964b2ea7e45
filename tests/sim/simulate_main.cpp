// Runs the simulation: `qbrk_simulate --runs N --seed S [--verbose]`. Prints one line per
// failing scenario with its seed and the promise it broke, and ends with "N passed, M failed".
// A failing seed replays with --runs 1 --seed <seed> --verbose.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "diag/error_log.h"
#include "simulation.h"

int main(int argc, char** argv) {
  uint64_t runs = 1000;
  uint64_t seed = 1;
  bool verbose = false;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--runs") && i + 1 < argc) {
      runs = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--seed") && i + 1 < argc) {
      seed = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--verbose")) {
      verbose = true;
    } else {
      std::fprintf(stderr, "usage: %s [--runs N] [--seed S] [--verbose]\n", argv[0]);
      return 2;
    }
  }
  uint64_t passed = 0, failed = 0;
  for (uint64_t i = 0; i < runs; ++i) {
    const uint64_t scenario_seed = seed + i;
    const qbrk::sim::Outcome outcome = qbrk::sim::RunScenario(scenario_seed);
    if (verbose)
      for (const std::string& line : outcome.story)
        std::printf("seed %llu: %s\n", static_cast<unsigned long long>(scenario_seed), line.c_str());
    if (outcome.broken.empty()) {
      ++passed;
      continue;
    }
    ++failed;
    std::string what = outcome.broken.front();
    if (outcome.broken.size() > 1) what += " (and " + std::to_string(outcome.broken.size() - 1) + " more)";
    std::printf("seed %llu: %s\n", static_cast<unsigned long long>(scenario_seed), what.c_str());
    if (verbose)
      for (size_t k = 1; k < outcome.broken.size(); ++k)
        std::printf("seed %llu:   %s\n", static_cast<unsigned long long>(scenario_seed),
                    outcome.broken[k].c_str());
  }
  std::printf("%llu passed, %llu failed\n", static_cast<unsigned long long>(passed),
              static_cast<unsigned long long>(failed));
  return failed == 0 ? 0 : 1;
}
