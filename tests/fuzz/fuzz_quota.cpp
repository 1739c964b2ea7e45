// The quota answer: figures are never negative.
#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/quota_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qbrk::XmlDocument doc;
  if (doc.Parse(std::string(reinterpret_cast<const char*>(data), size)) != qbrk::XmlError::kNone)
    return 0;
  qbrk::QuotaFigures figures;
  if (qbrk::ReadQuota(doc, &figures) && (figures.quota < 0 || figures.used < 0 || figures.free < 0))
    __builtin_trap();
  return 0;
}
