// The built HVqbrkCn.dll, loaded afresh for each test from beside the test program, with the
// user's settings key and the default mirror folder cleared before and after. Nothing of the
// library is linked into the test program: every call goes through the DLL's exports.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include "exports/qbrk_exports.h"
#include "support/user_state.h"

namespace qbrk::test {

class DllTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // The export `name`, as a pointer of its declared type.
  template <typename Function>
  Function Export(const char* name) {
    FARPROC proc = GetProcAddress(library_, name);
    EXPECT_NE(proc, nullptr) << name;
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(proc));
  }

 private:
  HMODULE library_ = nullptr;
};

}  // namespace qbrk::test
