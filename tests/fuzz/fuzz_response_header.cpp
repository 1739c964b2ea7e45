// Reading response headers out of an arbitrary raw header block.
#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/response_header.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view raw(reinterpret_cast<const char*>(data), size);
  static const char* const kNames[] = {"Content-Length", "X-Last-Modified", "X-HV-VFS-Version",
                                       "X-HV-PreferredHost"};
  for (const char* name : kNames) {
    std::string value;
    if (qbrk::FindResponseHeader(raw, name, &value) && value.size() > size) __builtin_trap();
  }
  return 0;
}
