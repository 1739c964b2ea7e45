// The WebDAV request headers the methods read: Depth, Timeout and Lock-Token; and the methods
// an Allow header names.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qbrk::emulator {

inline constexpr char kAllowedMethods[] =
    "OPTIONS, GET, HEAD, PUT, DELETE, MKCOL, PROPFIND, PROPPATCH, COPY, MOVE, LOCK, UNLOCK";

// Depth 0, 1 or infinity (-1); a missing header is fallback; nothing when invalid.
std::optional<int> ParseDepth(std::optional<std::string_view> depth, int fallback);

// A lock without a Timeout header lasts this long (capped by the longest lock granted).
inline constexpr int64_t kDefaultLockSeconds = 3600;

// The seconds a lock is granted for: the first usable choice of "Timeout: Second-N" (or
// "Infinite", or a list of choices), capped at max_seconds.
int64_t GrantedLockSeconds(std::optional<std::string_view> timeout, int64_t max_seconds);

// The token of "Lock-Token: <token>"; nothing when the header is missing or malformed.
std::optional<std::string> ParseLockTokenHeader(std::optional<std::string_view> lock_token);

}  // namespace qbrk::emulator
