#include "platform/win32/win32_env.h"

#include "platform/win32/win32_clock.h"
#include "platform/win32/win32_file_system.h"
#include "platform/win32/win32_host_window.h"
#include "platform/win32/win32_registry.h"
#include "platform/win32/win32_shell.h"
#include "platform/win32/win32_string_table.h"

namespace qbrk {

Env& Win32Env() {
  static Win32FileSystem files;
  static Win32Registry registry;
  static Win32Clock clock;
  static Win32HostWindow host;
  static Win32Shell shell;
  static Win32StringTable strings;
  static Env env{files, registry, clock, host, shell, strings};
  return env;
}

}  // namespace qbrk
