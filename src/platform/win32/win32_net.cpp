#include "platform/win32/win32_net.h"

#include "platform/win32/ras_dial_up.h"
#include "platform/win32/wininet_transport.h"

namespace qbrk {

// Both are stateless; a job's handles live in the objects they hand out.
HttpTransport& Win32HttpTransport() {
  static WinInetTransport transport;
  return transport;
}

DialUpLoader& Win32DialUp() {
  static RasDialUpLoader loader;
  return loader;
}

}  // namespace qbrk
