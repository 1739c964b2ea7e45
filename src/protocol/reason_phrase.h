// The reason phrase the service writes after a status code: in status lines, in the status
// elements of its XML answers and at the start of its refusals' text. Header-only, so that the
// emulator of the service takes it without linking the library; the in-memory model of the
// service and the in-memory transport's status lines use it too.
#pragma once

#include <string_view>

namespace qbrk {

constexpr std::string_view ReasonPhrase(int status) {
  switch (status) {
    case 100:
      return "Continue";
    case 200:
      return "OK";
    case 201:
      return "Created";
    case 204:
      return "No Content";
    case 207:
      return "Multi-Status";
    case 301:
      return "Moved Permanently";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 407:
      return "Proxy Authentication Required";
    case 409:
      return "Conflict";
    case 412:
      return "Precondition Failed";
    case 413:
      return "Content Too Large";
    case 414:
      return "URI Too Long";
    case 415:
      return "Unsupported Media Type";
    case 422:
      return "Unprocessable Content";
    case 423:
      return "Locked";
    case 424:
      return "Failed Dependency";
    case 500:
      return "Internal Server Error";
    case 501:
      return "Not Implemented";
    case 502:
      return "Bad Gateway";
    case 503:
      return "Service Unavailable";
    case 507:
      return "Insufficient Storage";
    default:
      return "Unknown";
  }
}

}  // namespace qbrk
