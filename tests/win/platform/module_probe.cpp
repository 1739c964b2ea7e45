// A DLL built from the Win32 platform code and the library's resources, like HVqbrkCn.dll:
// through it the tests see what the platform reports from inside a DLL.
#include <windows.h>

#include <cstring>
#include <string>

#include "platform/win32/win32_shell.h"
#include "platform/win32/win32_string_table.h"

namespace {

int CopyOut(const std::string& text, char* buffer, int size) {
  if (size <= 0 || static_cast<int>(text.size()) >= size) return -1;
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return static_cast<int>(text.size());
}

}  // namespace

extern "C" __declspec(dllexport) int ProbeLibraryPath(char* buffer, int size) {
  return CopyOut(qbrk::Win32Shell().LibraryPath(), buffer, size);
}

extern "C" __declspec(dllexport) int ProbeProgramPath(char* buffer, int size) {
  return CopyOut(qbrk::Win32Shell().ProgramPath(), buffer, size);
}

extern "C" __declspec(dllexport) int ProbeLoadString(unsigned id, char* buffer, int size) {
  return CopyOut(qbrk::Win32StringTable().Load(id), buffer, size);
}
