// Basic credentials, which the client sends with every request.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "checked.h"

namespace qbrk::emulator {

inline constexpr char kRealm[] = "Quellanbrook";
// The WWW-Authenticate challenge of a 401.
inline constexpr char kBasicChallenge[] = "Basic realm=\"Quellanbrook\"";

struct Credentials {
  std::string user;
  std::string password;
};

// The user and password of an Authorization header. A missing header or another scheme is
// 401; credentials that are not canonical base64 or lack the colon are 400.
Checked<Credentials> ParseBasicCredentials(std::optional<std::string_view> authorization);

}  // namespace qbrk::emulator
