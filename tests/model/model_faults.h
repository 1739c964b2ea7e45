// Faults a simulation injects at a chosen request, in front of the model service, and what
// the service has done when the client meets each one. Each is expressed through the
// in-memory transport's handler answer, as WinINet would report it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "model_service.h"
#include "platform/memory/http_handler.h"
#include "platform/sys_error.h"

namespace qbrk::model {

enum class FaultKind {
  kNone,
  // An answer with `status` (404, 409, 423, 503, 507...) given at once; nothing is applied.
  // Like the emulator's status rule it carries no service headers.
  kStatus,
  // The connection breaks while the body is being sent: nothing is applied. The send goes
  // through and no answer comes (status 0, an empty header block), as WinINet under Wine
  // reports it; with `error` set, the step that delivered the request fails with it instead
  // (12030 or 12031, as on Windows).
  kCutRequest,
  // The change is applied, then the connection breaks after `keep_bytes` of the answer's
  // body; its Content-Length still announces the whole.
  kCutResponse,
  // The answer does not come in time: the step that delivered the request fails with
  // `error` (12002 by default). `applied` says whether the service carried the request out
  // before the client gave up.
  kTimeout,
};

struct Fault {
  FaultKind kind = FaultKind::kNone;
  uint32_t status = 503;
  size_t keep_bytes = 0;
  bool applied = false;
  SysError error = 0;
};

// Hands the request to the model, or not, as `fault` says, and answers as the client would
// meet the fault.
HandlerResponse HandleWithFault(ModelService& model, const HandlerRequest& request,
                                const Fault& fault);

}  // namespace qbrk::model
