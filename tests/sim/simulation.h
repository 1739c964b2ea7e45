// The randomized simulation of the sync engine: random trees on both sides in step, random
// correlated changes, then a run with random answers, the user's edits at random moments,
// and a fault at a random request or a crash at a random point; after every run the
// engine's five promises are checked, and after a fault or a crash the next clean run must
// bring both sides into step. A seed replays its scenario exactly.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qbrk::sim {

struct Outcome {
  // "invariant: detail" for every promise the scenario broke; empty when it kept all.
  std::vector<std::string> broken;
  // What the scenario did, for a report of one seed.
  std::vector<std::string> story;
};

Outcome RunScenario(uint64_t seed);

}  // namespace qbrk::sim
