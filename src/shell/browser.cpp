#include "shell/browser.h"

#include "settings/registry_values.h"

namespace qbrk {

namespace {

constexpr RegistryRoot kClasses = RegistryRoot::kClassesRoot;
// Longer than any command line WinExec accepts.
constexpr size_t kMaxCommandBytes = 4096;

}  // namespace

bool ReadBrowserCommand(Registry& registry, std::string* command) {
  std::string type;
  if (ReadStringValue(registry, kClasses, ".htm", "", kMaxCommandBytes, &type) != ValueRead::kOk ||
      type.empty())
    return false;
  std::string registered;
  if (ReadStringValue(registry, kClasses, type + "\\shell\\open\\command", "", kMaxCommandBytes,
                      &registered) != ValueRead::kOk ||
      registered.empty())
    return false;
  *command = std::move(registered);
  return true;
}

std::string BrowserCommandLine(std::string_view command, std::string_view url) {
  // Every "%1" is replaced, as the shell does when it runs the same registration for a
  // page opened from the desktop. Only the registered text is scanned, so a URL that holds
  // "%1" itself (a percent-escape such as %1F) is never rewritten. '%' and '1' are below
  // 0x40 and so never trail bytes: a byte search is safe in code page 932.
  std::string line;
  bool replaced = false;
  size_t from = 0;
  for (size_t at = command.find("%1"); at != std::string_view::npos;
       at = command.find("%1", from)) {
    line.append(command.substr(from, at - from));
    line.append(url);
    from = at + 2;
    replaced = true;
  }
  line.append(command.substr(from));
  if (!replaced) {
    line += ' ';
    line.append(url);
  }
  return line;
}

bool OpenUrlInBrowser(Registry& registry, Shell& shell, const char* url) {
  if (url == nullptr || *url == '\0') return false;
  std::string command;
  if (!ReadBrowserCommand(registry, &command)) return false;
  return shell.RunCommandLine(BrowserCommandLine(command, url));
}

bool StartMailProgram(Shell& shell) {
  return shell.ShellOpen("open", "mailto:");
}

}  // namespace qbrk
