// What every contract suite is parameterised by: a named way to make the implementation
// under test (the in-memory twin everywhere, the Win32 one under Windows as well).
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

namespace qbrk {

template <typename Harness>
struct Implementation {
  const char* name;
  std::unique_ptr<Harness> (*make)();

  // Keeps test listings readable: the implementation's name instead of its bytes.
  friend void PrintTo(const Implementation& implementation, std::ostream* out) {
    *out << implementation.name;
  }
};

// Names the instantiated cases after the implementation ("Twin", "Win32").
struct ImplementationName {
  template <typename Param>
  std::string operator()(const testing::TestParamInfo<Param>& info) const {
    return info.param.name;
  }
};

}  // namespace qbrk
