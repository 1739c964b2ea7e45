// Requests on the accounts' disks ("/~user/file/..."): authentication, path checks and the
// choice of method.
#pragma once

#include <memory>

#include "exchange.h"
#include "service_state.h"

namespace qbrk::emulator {

std::unique_ptr<Exchange> BeginDav(ServiceState& state, RequestHead head);

}  // namespace qbrk::emulator
