// Opening the service's web pages named in the machine-wide HomePageURL key.
#pragma once

#include <cstdint>
#include <string>

#include "platform/env.h"

namespace qbrk {

// The status page of the service, opened by the message box's status button.
inline constexpr char kEmergencyPageValue[] = "QuellanbrookEmergency";

// Reads the URL stored under `value_name` in HKLM\Software\Halvorn\Common\HomePageURL and,
// when it is not empty, opens it with the default browser. Always returns 1.
uint32_t ViewHomePage(Env& env, const std::string& value_name);

}  // namespace qbrk
