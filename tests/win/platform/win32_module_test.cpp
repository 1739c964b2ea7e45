// The library's own module: inside a DLL, its path and its string table are the DLL's,
// not those of the program that loaded it. And the process-wide Env.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "common/mbcs.h"
#include "platform/win32/win32_clock.h"
#include "platform/win32/win32_env.h"
#include "platform/win32/win32_file_system.h"
#include "platform/win32/win32_shell.h"
#include "platform/win32/win32_string_table.h"

namespace qbrk {
namespace {

using ProbeText = int(__cdecl*)(char*, int);
using ProbeString = int(__cdecl*)(unsigned, char*, int);

// GetProcAddress hands back a generic function pointer; going through void* says the
// conversion is meant.
template <typename Function>
Function Export(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

class ModuleProbeTest : public testing::Test {
 protected:
  void SetUp() override {
    // The probe is built next to this program.
    std::string path = Win32Shell().ProgramPath();
    path = path.substr(0, FindLastSingleByte(path, '\\') + 1) + "qbrk_module_probe.dll";
    probe_ = LoadLibraryA(path.c_str());
    ASSERT_NE(probe_, nullptr) << path << " error " << GetLastError();
    library_path_ = Export<ProbeText>(probe_, "ProbeLibraryPath");
    program_path_ = Export<ProbeText>(probe_, "ProbeProgramPath");
    load_string_ = Export<ProbeString>(probe_, "ProbeLoadString");
    ASSERT_TRUE(library_path_ && program_path_ && load_string_);
  }
  void TearDown() override {
    if (probe_) FreeLibrary(probe_);
  }

  static std::string Text(ProbeText probe) {
    char buffer[1024] = {};
    return probe(buffer, sizeof buffer) < 0 ? "<failed>" : buffer;
  }

  HMODULE probe_ = nullptr;
  ProbeText library_path_ = nullptr;
  ProbeText program_path_ = nullptr;
  ProbeString load_string_ = nullptr;
};

TEST_F(ModuleProbeTest, InsideADllTheLibraryPathIsTheDlls) {
  const std::string library = Text(library_path_);
  const std::string program = Text(program_path_);
  EXPECT_TRUE(
      EqualsIgnoringAsciiCase(library.substr(library.size() - 22), "\\qbrk_module_probe.dll"))
      << library;
  EXPECT_EQ(program, Win32Shell().ProgramPath());
  EXPECT_NE(library, program);
}

TEST_F(ModuleProbeTest, InsideADllStringsComeFromTheDllsResources) {
  // String 60000 exists in the probe's resources only.
  EXPECT_EQ(Win32StringTable().Load(60000), "");
  char buffer[256] = {};
  ASSERT_GT(load_string_(60000, buffer, sizeof buffer), 0);
  EXPECT_EQ(std::string(buffer), "モジュール確認");
  EXPECT_EQ(load_string_(143, buffer, sizeof buffer), 0);  // the library's table is not there
}

TEST(Win32EnvTest, OneSetOfWin32ImplementationsForTheWholeProcess) {
  Env& env = Win32Env();
  Env* from_thread = nullptr;
  std::thread other([&] { from_thread = &Win32Env(); });
  other.join();
  EXPECT_EQ(from_thread, &env);
  EXPECT_NE(dynamic_cast<Win32FileSystem*>(&env.files), nullptr);
  EXPECT_NE(dynamic_cast<Win32Clock*>(&env.clock), nullptr);
  EXPECT_NE(dynamic_cast<Win32Shell*>(&env.shell), nullptr);
  EXPECT_NE(dynamic_cast<Win32StringTable*>(&env.strings), nullptr);
  std::string temp;
  EXPECT_EQ(env.files.TempFolder(&temp), sys_error::kSuccess);
}

}  // namespace
}  // namespace qbrk
