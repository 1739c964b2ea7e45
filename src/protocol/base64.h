// Base64 with the standard alphabet and "=" padding, for the Basic authorization lines.
#pragma once

#include <string>
#include <string_view>

namespace qbrk {

std::string Base64Encode(std::string_view bytes);

}  // namespace qbrk
