// The shell and process calls: known folders, module names, shell links, starting programs.
#pragma once

#include "platform/shell.h"

namespace qbrk {

class Win32Shell final : public Shell {
 public:
  SysError GetFolderPath(KnownFolder folder, bool create, std::string* path) override;
  std::string ProgramPath() override;
  // The module that holds this code (OwnModule), so the DLL's own path inside the host.
  std::string LibraryPath() override;
  bool CreateShortcut(const std::string& link_path, const ShortcutSpec& spec) override;
  bool RunCommandLine(const std::string& command_line) override;
  bool ShellOpen(const std::string& verb, const std::string& file) override;
  bool RunProcessAndWait(const std::string& command_line) override;
};

}  // namespace qbrk
