// How often a request that met a lock (423) is sent again after releasing this user's own
// lock. Releasing succeeds without doing anything when the lock belongs to someone else, so
// an unbounded retry could spin for as long as that lock lives; after this many rounds the
// request ends with the 423's own meaning, "locked by someone else" (77).
#pragma once

namespace qbrk {

inline constexpr int kMaxLockRounds = 8;

}  // namespace qbrk
