// The settings the demonstration writes before it runs: what the tray program's set-up and
// sign-in would leave in the user's key, pointed at a local server.
#pragma once

#include <cstdint>
#include <string>

#include "platform/clock.h"
#include "platform/registry.h"

namespace qbrk::demo {

struct DemoSettings {
  std::string host;   // Domain
  uint16_t port = 0;  // Port (plain HTTP: UseSSL is written as 0)
  std::string user;   // the sign-in record ("Info"), password remembered
  std::string password;
  std::string mirror;  // Mirror: the local folder kept in step
};

// Writes Domain, Port, UseSSL, Info and Mirror under the library's key. False with the
// failing value's name in `*failed` when one could not be stored.
bool WriteDemoSettings(Registry& registry, Clock& clock, const DemoSettings& settings,
                       std::string* failed);

}  // namespace qbrk::demo
