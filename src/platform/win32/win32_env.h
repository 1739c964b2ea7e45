// The platform of the shipped library: one Win32 implementation per seam, shared by the
// whole process.
#pragma once

#include "platform/env.h"

namespace qbrk {

// Made on first use (thread-safe) and kept until the module is unloaded. The seams hold no
// per-call state, so every thread may use the same Env.
Env& Win32Env();

}  // namespace qbrk
