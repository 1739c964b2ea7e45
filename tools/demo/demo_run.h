// The demonstration of the library's main job, as the tray program's jobs will run it: read
// the settings, open the connection, put the mirror folder's files into a new folder of the
// disk, list it, bring a file back, show the quota and publish the folder. Each step prints
// one line; a failure prints the result code and its message and ends the run.
//
// Portable: the Windows program runs it over the Win32 platform and WinINet, the tests over
// the in-memory platform and an in-process emulator of the service.
#pragma once

#include <functional>
#include <string>

#include "platform/env.h"
#include "protocol/publishing_answers.h"
#include "protocol/server_connection.h"

namespace qbrk::demo {

struct DemoPlan {
  std::string folder_name;  // created below the disk root (code page 932)
  DisplaySetting display;   // the publisher shown on the public page
};

struct DemoOutcome {
  bool ok = false;
  std::string public_address;  // the published folder's address, once known
};

// Receives each line in the library's text (code page 932), without a line end.
using DemoOutput = std::function<void(const std::string& line)>;

DemoOutcome RunDemo(Env& env, NetPlatform net, const DemoPlan& plan, const DemoOutput& out);

}  // namespace qbrk::demo
