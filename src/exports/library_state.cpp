#include "exports/library_state.h"

#include "dialogs/message_box.h"
#include "exports/win32_command_mutex.h"
#include "platform/win32/win32_env.h"
#include "shell/home_page.h"

namespace qbrk {

namespace {

NamedCommandMutex& Mutex() {
  static NamedCommandMutex mutex;
  return mutex;
}

}  // namespace

void AttachLibrary() {
  Mutex().Create(kCommandMutexName);
  SetStatusPageAction([] { ViewHomePage(Win32Env(), kEmergencyPageValue); });
}

void DetachLibrary() {
  Mutex().Close();
}

KeptHostArguments& KeptArguments() {
  static KeptHostArguments kept;
  return kept;
}

CommandGuard& Guard() {
  static CommandGuard guard(Mutex(), Win32Env().host, KeptArguments());
  return guard;
}

}  // namespace qbrk
