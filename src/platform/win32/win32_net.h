// The process-wide network parts of shipped code: jobs build their NetPlatform from these.
#pragma once

#include "platform/dial_up.h"
#include "platform/http_transport.h"

namespace qbrk {

HttpTransport& Win32HttpTransport();
DialUpLoader& Win32DialUp();

}  // namespace qbrk
