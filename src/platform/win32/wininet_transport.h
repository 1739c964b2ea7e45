// The HTTP seam over the raw WinINet API: each seam object owns its HINTERNET handle and each
// call maps to one WinINet call (see docs/protocol.md for the table), answering the failing
// call's GetLastError().
#pragma once

#include "platform/http_transport.h"

namespace qbrk {

class WinInetTransport final : public HttpTransport {
 public:
  SysError OpenSession(const std::string& agent, std::unique_ptr<HttpSession>* session) override;
  SysError AttemptConnect() override;
};

}  // namespace qbrk
