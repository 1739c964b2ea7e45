// The control endpoint for tests, under "/_emulator/" and only when enabled. It lives
// outside every disk ("/~...") and the public pages, so no account can reach or shadow it.
//
//   GET    /_emulator/            this list
//   GET    /_emulator/faults      the fault rules, one per line
//   POST   /_emulator/faults      adds the rules in the body (see faults.h), one per line
//   DELETE /_emulator/faults      removes them all
//   GET    /_emulator/locks       the locks held: token, path, owner, seconds left
//   POST   /_emulator/locks       "PATH [owner=MAIL] [timeout=SECONDS] [scope=shared]
//                                 [depth=infinity]": a lock held by someone else; the
//                                 answer is its token
//   DELETE /_emulator/locks       releases every lock
//   POST   /_emulator/clock       "advance=SECONDS": moves the lock clock forward
//   GET    /_emulator/settings    the settings and each account's use and quota
//   POST   /_emulator/settings    lines "vfs-version=V" ("vfs-version=" sends no header),
//                                 "preferred-host=HOST" (empty: none), "quota=MAIL BYTES"
//
// Paths are given as the raw bytes of the disk path, like "/~taro@example.jp/file/a.txt".
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "exchange.h"
#include "service_state.h"

namespace qbrk::emulator {

inline constexpr char kControlPrefix[] = "/_emulator/";

std::unique_ptr<Exchange> BeginControl(ServiceState& state, RequestHead head);

// The control commands themselves; each needs state.mu. They answer with the text of the
// response, or refuse.
Checked<std::string> HoldLock(ServiceState& state, std::string_view line);
Checked<std::string> ChangeSettings(ServiceState& state, std::string_view lines);
Checked<std::string> AddFaults(ServiceState& state, std::string_view lines);

}  // namespace qbrk::emulator
