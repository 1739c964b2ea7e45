// What a resolved plan will do, counted for the dialogs, and the answers the user gave for
// every remaining entry of a kind. Eighteen 32-bit words, zeroed before each run.
#pragma once

#include <cstdint>

namespace qbrk {

struct SyncStatistics {
  uint32_t localFileDeletes = 0;
  uint32_t serverFileDeletes = 0;
  uint32_t localFolderDeletes = 0;
  uint32_t serverFolderDeletes = 0;
  uint32_t localFolderCreates = 0;
  uint32_t serverFolderCreates = 0;
  uint32_t uploads = 0;
  uint32_t downloads = 0;
  uint64_t uploadBytes = 0;
  uint64_t downloadBytes = 0;
  uint32_t uploadAllConflicts = 0;
  uint32_t downloadAllConflicts = 0;
  uint32_t deleteAllDeletedOnServer = 0;
  uint32_t deleteAllDeletedLocally = 0;
  uint32_t uploadAllDeletedOnServer = 0;
  uint32_t downloadAllDeletedLocally = 0;
};

// The dialogs read the record word by word (the byte totals low word first).
static_assert(sizeof(SyncStatistics) == 18 * 4, "eighteen 32-bit words");

}  // namespace qbrk
