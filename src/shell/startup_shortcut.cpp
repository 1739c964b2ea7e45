#include "shell/startup_shortcut.h"

#include <memory>

#include "common/mbcs.h"

namespace qbrk {

bool StartupLinkPath(Shell& shell, std::string* path) {
  std::string folder;
  if (shell.GetFolderPath(KnownFolder::kStartup, /*create=*/false, &folder) !=
          sys_error::kSuccess ||
      folder.empty())
    return false;
  if (!EndsWithSingleByte(folder, '\\')) folder += '\\';
  *path = folder + kStartupLinkName;
  return true;
}

bool StartupShortcutExists(Shell& shell, FileSystem& files) {
  std::string link;
  if (!StartupLinkPath(shell, &link)) return false;
  std::unique_ptr<FindHandle> find;
  FindData found;
  return files.FindFirst(link, &find, &found) == sys_error::kSuccess;
}

bool CreateStartupShortcut(Shell& shell) {
  const std::string program = shell.ProgramPath();
  // Compare the last part only, cut at a real backslash (never a trail byte of 0x5C).
  const size_t separator = FindLastSingleByte(program, '\\');
  if (separator == std::string::npos ||
      UpperAscii(std::string_view(program).substr(separator + 1)) != kHostProgramName)
    return false;
  std::string link;
  if (!StartupLinkPath(shell, &link)) return false;
  ShortcutSpec spec;
  spec.target = program;
  return shell.CreateShortcut(link, spec);
}

bool DeleteStartupShortcut(Shell& shell, FileSystem& files) {
  std::string link;
  return StartupLinkPath(shell, &link) && files.RemoveFile(link) == sys_error::kSuccess;
}

}  // namespace qbrk
