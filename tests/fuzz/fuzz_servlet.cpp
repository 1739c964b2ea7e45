// The publishing servlet's text answers as they are read: pieces of at most 4095 bytes,
// each up to its first NUL, then PGDS, PTIM (an HTTP date) and PUBQ.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/http_date.h"
#include "protocol/publishing_answers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  std::string body;
  for (size_t at = 0; at < bytes.size(); at += 4095)
    qbrk::AppendBodyPiece(bytes.substr(at, std::min<size_t>(4095, bytes.size() - at)), &body);
  if (body.size() > size) __builtin_trap();
  qbrk::DisplaySetting setting;
  if (qbrk::ReadDisplaySetting(body, &setting) && setting.name.size() > body.size())
    __builtin_trap();
  uint64_t since = 0;
  qbrk::ParseHttpDate(body, &since);
  qbrk::ReadPublishedAnswer(body);
  return 0;
}
