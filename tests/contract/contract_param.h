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

template <typename Harness, typename Made>
std::unique_ptr<Harness> Make() {
  return std::make_unique<Made>();
}

}  // namespace qbrk

// Runs `suite` on the harness type `made` under the name `name` (Twin, Win32).
#define QBRK_CONTRACT_FOR(name, suite, harness, made)                                        \
  INSTANTIATE_TEST_SUITE_P(                                                                  \
      name, suite,                                                                           \
      testing::Values(::qbrk::Implementation<harness>{#name, &::qbrk::Make<harness, made>}), \
      ::qbrk::ImplementationName())
