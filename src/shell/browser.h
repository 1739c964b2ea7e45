// Opening a web page with the browser registered for ".htm" pages, and starting the mail
// program.
#pragma once

#include <string>
#include <string_view>

#include "platform/registry.h"
#include "platform/shell.h"

namespace qbrk {

// The command line registered for opening ".htm" pages: HKEY_CLASSES_ROOT\.htm names a
// file type, whose "shell\open\command" default value is the command. False when either
// is missing or empty.
bool ReadBrowserCommand(Registry& registry, std::string* command);

// Puts `url` in place of every "%1" of `command`; a command without "%1" gets a blank and
// the URL appended.
std::string BrowserCommandLine(std::string_view command, std::string_view url);

// Runs the browser on `url`. False for a null or empty URL, a missing registration, or a
// command that did not start.
bool OpenUrlInBrowser(Registry& registry, Shell& shell, const char* url);

// Opens "mailto:" with the shell: the user's mail program starts with a blank message.
bool StartMailProgram(Shell& shell);

}  // namespace qbrk
