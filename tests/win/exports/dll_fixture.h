// The built HVqbrkCn.dll, loaded afresh for each test from beside the test program, with the
// user's settings key and the default mirror folder cleared before and after. Nothing of the
// library is linked into the test program: every call goes through the DLL's exports.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "exports/qbrk_exports.h"

namespace qbrk::test {

inline constexpr char kSettingsKeyPath[] = "SOFTWARE\\Halvorn\\Quellanbrook\\1.0";

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

  // My Documents of the test's profile, and the default mirror folder in it.
  static std::string Documents();
  static std::string DefaultMirror() { return Documents() + "\\My Quellanbrook"; }
  // "Mirror" as stored, or "<none>".
  static std::string StoredMirror();
  static void SetDword(const char* name, DWORD value);
  static void SetString(const char* name, const std::string& value);
  // Removes an empty folder whatever its attributes.
  static void RemoveFolder(const std::string& path);
  static bool Exists(const std::string& path);

 private:
  static void ClearUserState();
  HMODULE library_ = nullptr;
};

}  // namespace qbrk::test
