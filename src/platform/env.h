// The platform a piece of the library runs on: one reference per seam.
//
// Shipped code gets the Win32 implementations (platform/win32); tests get the in-memory
// twins (platform/memory) or mix them, for instance real files with a scripted clock.
#pragma once

namespace qbrk {

class Clock;
class FileSystem;
class HostWindow;
class Registry;
class Shell;
class StringTable;

struct Env {
  FileSystem& files;
  Registry& registry;
  Clock& clock;
  HostWindow& host;
  Shell& shell;
  StringTable& strings;
};

}  // namespace qbrk
