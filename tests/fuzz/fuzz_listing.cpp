// The folder listing reader on arbitrary answers.
#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/listing_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qbrk::XmlDocument doc;
  if (doc.Parse(std::string(reinterpret_cast<const char*>(data), size)) != qbrk::XmlError::kNone)
    return 0;
  qbrk::Listing items;
  qbrk::ReadListing(doc, "/~taro/file/", &items);
  for (const auto& item : items) {
    // A name is one segment of a path, kept whole.
    if (item.name.find('/') != std::string::npos) __builtin_trap();
    if (item.attributes != 16 && item.attributes != 128) __builtin_trap();
  }
  return 0;
}
