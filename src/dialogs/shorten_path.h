// Cuts a path (or any code-page 932 text) to a byte budget for a message.
#pragma once

#include <cstddef>
#include <string>

namespace qbrk {

// The text as it fits a buffer of `buffer_size` bytes with "..." and a terminator: whole when
// it fits in buffer_size - 4 bytes; otherwise its first buffer_size - 4 bytes, without the
// lead byte of a character whose trail byte would not fit, followed by "...". A buffer too
// small for "..." gets nothing.
std::string ShortenPath(const std::string& text, size_t buffer_size);

}  // namespace qbrk
