// Reading the quota answer: three vendor properties of the disk root.
#pragma once

#include <cstdint>

#include "protocol/xml/xml_document.h"

namespace qbrk {

// Bytes of the user's disk, in the order the service names them.
struct QuotaFigures {
  int64_t quota = 0;
  int64_t used = 0;
  int64_t free = 0;
};

// Goes down response, propstat, prop; among that prop's children the names containing
// getquotasize, getusedsize and getfreesize give the figures (leading decimal digits after
// any blanks; none give 0). False when the chain to prop breaks.
bool ReadQuota(const XmlDocument& doc, QuotaFigures* figures);

}  // namespace qbrk
