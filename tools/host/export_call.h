// Calling one export of the library by name with arguments given as text.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "exports/qbrk_exports.h"

namespace qbrk_host {

// One call from the command line: "call NAME ARG...". Argument forms:
//   123, -1, 0x10   integers          @null   0
//   @host           the host window   @buf    a fresh 260-byte buffer, printed afterwards
//   s:TEXT          a string          @items:FILE  transfer items, one "op|local|server" per line
struct ExportCall {
  std::string name;
  std::vector<std::string> args;
};

struct CallOutcome {
  bool called = false;
  std::string error;  // why it could not be called
  UINT result = 0;
  std::vector<std::string> notes;  // buffers and item statuses after the call
};

CallOutcome CallExport(HMODULE library, HWND host_window, const ExportCall& call);

}  // namespace qbrk_host
