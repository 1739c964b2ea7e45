// No exception leaves an operation. Answers read whole are bounded, but a server still
// decides how much the client must copy (a header block, an answer's tree), and on a 32-bit
// build an allocation fails long before the bounds do: std::bad_alloc, or std::length_error
// past a string's max_size. Every operation that allocates from server data runs its body
// through GuardAllocation, which turns those into the operation's code.
#pragma once

#include <new>
#include <stdexcept>

#include "common/result_code.h"
#include "protocol/server_session.h"

namespace qbrk {

// `body()`, or `code` when it ran out of memory; the request it had open is closed.
template <typename Body>
ResultCode GuardAllocation(ServerSession& session, ResultCode code, Body&& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  session.CloseRequest();
  return code;
}

}  // namespace qbrk
