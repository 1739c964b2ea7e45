#include "dll_fixture.h"

#include <string>

namespace qbrk::test {

void DllTest::SetUp() {
  ClearUserState();
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string library(path);
  library = library.substr(0, library.find_last_of('\\') + 1) + "HVqbrkCn.dll";
  library_ = LoadLibraryA(library.c_str());
  ASSERT_NE(library_, nullptr) << "error " << GetLastError();
}

void DllTest::TearDown() {
  if (library_) FreeLibrary(library_);
  ClearUserState();
}

}  // namespace qbrk::test
