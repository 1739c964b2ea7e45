// Why a request is refused: an HTTP status and a one-line reason, which the answer's text
// gives after the status's reason phrase.
#pragma once

#include <string>

namespace qbrk::emulator {

struct Refusal {
  int status = 0;  // 0 refuses nothing
  std::string reason;

  explicit operator bool() const { return status != 0; }
};

// Refusals and the other short answers are plain text.
inline constexpr char kPlainTextType[] = "text/plain; charset=Shift_JIS";

// "Not Found: no such resource", ending with a line feed.
std::string RefusalText(const Refusal& refusal);

}  // namespace qbrk::emulator
