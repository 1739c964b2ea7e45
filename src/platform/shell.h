// The parts of the Windows shell and process model that the library's logic needs.
#pragma once

#include <cstdint>
#include <string>

#include "platform/sys_error.h"

namespace qbrk {

// Folders of SHGetFolderPathA.
enum class KnownFolder {
  kPersonal,       // CSIDL_PERSONAL: My Documents
  kLocalAppData,   // CSIDL_LOCAL_APPDATA
  kStartup,        // CSIDL_STARTUP
  kDesktop,        // CSIDL_DESKTOPDIRECTORY
};

// What a shell link (.LNK) points at.
struct ShortcutSpec {
  std::string target;
  std::string description;
  std::string icon_path;
  int icon_index = 0;
  int show_command = 1;  // SW_SHOWNORMAL
};

class Shell {
 public:
  virtual ~Shell() = default;
  // SHGetFolderPathA, with CSIDL_FLAG_CREATE when `create` is set.
  virtual SysError GetFolderPath(KnownFolder folder, bool create, std::string* path) = 0;
  // GetModuleFileNameA of the running program.
  virtual std::string ProgramPath() = 0;
  // GetModuleFileNameA of this library's own module.
  virtual std::string LibraryPath() = 0;
  // Creates (or overwrites) a shell link at `link_path`.
  virtual bool CreateShortcut(const std::string& link_path, const ShortcutSpec& spec) = 0;
  // WinExec with SW_SHOWNORMAL; true when the program started.
  virtual bool RunCommandLine(const std::string& command_line) = 0;
  // ShellExecuteA(verb, file) with SW_SHOWNORMAL; true when the shell accepted it.
  virtual bool ShellOpen(const std::string& verb, const std::string& file) = 0;
  // CreateProcessA in a new console, inheriting handles, with the busy cursor, then waits
  // without limit for it to end. True when it could be started.
  virtual bool RunProcessAndWait(const std::string& command_line) = 0;
};

}  // namespace qbrk
