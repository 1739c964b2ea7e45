// The request head and the response as the service sees them, independent of the HTTP
// server library, so that the service can also be driven in-process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "core/headers.h"
#include "unique_fd.h"

namespace qbrk::emulator {

struct RequestHead {
  std::string method;
  // The path as it came on the wire (still percent-escaped), without a query.
  std::string target;
  Headers headers;
  // Peer address for the request log.
  std::string peer;
};

// A response body read from an open file.
struct FileBody {
  UniqueFd fd;
  uint64_t offset = 0;
  uint64_t length = 0;
};

struct Response {
  int status = 200;
  Headers headers;
  // Content-Length is derived from the body by the transport, never set here. A HEAD
  // response carries the same body as GET; the transport sends only its length.
  std::variant<std::string, FileBody> body;
  // Fault injection: the connection is dropped after this many body bytes.
  std::optional<uint64_t> cut_after;

  uint64_t BodyLength() const;
};

// A short response with a plain-text body.
Response TextResponse(int status, std::string text);
// A response whose body is an XML document.
Response XmlResponse(int status, std::string xml, std::string_view charset);

}  // namespace qbrk::emulator
