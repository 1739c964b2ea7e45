// An Env made of the in-memory twins, for tests of code that takes the whole platform.
#pragma once

#include "platform/env.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/fake_shell.h"
#include "platform/memory/memory_file_system.h"
#include "platform/memory/memory_registry.h"
#include "platform/memory/memory_string_table.h"
#include "platform/memory/recording_host_window.h"

namespace qbrk::testing {

struct TwinEnv {
  FakeClock clock;
  MemoryFileSystem files{clock};
  MemoryRegistry registry;
  RecordingHostWindow host;
  FakeShell shell{files};
  MemoryStringTable strings;
  Env env{files, registry, clock, host, shell, strings};
};

}  // namespace qbrk::testing
