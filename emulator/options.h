// The emulator's command line.
#pragma once

#include <string>

#include "config.h"

namespace qbrk::emulator {

// Fills config from the arguments; false with a message in *error, or with *help set when
// --help was asked.
bool ParseOptions(int argc, const char* const* argv, EmulatorConfig* config, bool* help,
                  std::string* error);

std::string UsageText();

}  // namespace qbrk::emulator
