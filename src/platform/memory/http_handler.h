// The request and answer of an in-process HTTP handler (an emulator or a model of the service)
// behind MemoryHttpTransport. Plain types only, so that a handler can be built without the
// transport.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/sys_error.h"

namespace qbrk {

// A step of one request, in the order the client calls them.
enum class FailStep { kNone, kOpen, kAddHeaders, kSend, kWrite, kEnd, kStatus, kRead };

// Body bytes described rather than held, so that a test can answer gigabytes: `chunk` over
// and over (the last repetition cut short) until `length` bytes have come. They follow the
// answer's `body`; an empty chunk adds nothing.
struct RepeatedBody {
  std::string chunk;
  uint64_t length = 0;
};

// The request as a handler sees it (the path still escaped as sent).
struct HandlerRequest {
  std::string method;
  std::string path;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
};

struct HandlerResponse {
  uint32_t status = 200;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  // The server dropped the connection: during the request when `status` is 0, else after
  // `body` (the part of the answer's body that came before the cut).
  bool connection_cut = false;
  // The request fails after it reached the server, with `error` at the step WinINet reports
  // it at: kSend or kEnd, whichever step delivered the request (Send without a body, EndSend
  // after a begun send; no answer arrives: a time-out, a reset); kStatus, the status query;
  // kRead, the body after `fail_after_bytes` bytes. The earlier steps ran before the handler
  // did: a handler naming one of them makes the transport count a misuse.
  FailStep fail_at = FailStep::kNone;
  SysError error = 0;
  size_t fail_after_bytes = 0;
  RepeatedBody repeated_body = {};  // after `body`
};

using RequestHandler = std::function<HandlerResponse(const HandlerRequest& request)>;

}  // namespace qbrk
