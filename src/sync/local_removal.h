// Removing local folders when a folder was deleted on the server.
#pragma once

#include <cstdint>
#include <string>

#include "platform/file_system.h"
#include "sync/sync_table.h"

namespace qbrk {

// Removes a folder with all its content, files' attributes cleared first, through full
// paths (the process's current folder is left alone). At most `levels` levels deep; deeper
// content makes it fail. A folder that is already gone counts as removed.
bool RemoveFolderTree(FileSystem& files, const std::string& path, uint32_t levels);

// The last step of removing a folder whose planned content execution has already deleted
// file by file: what the scan leaves out by rule (dot-names, excluded extensions) goes with
// the folder, with its whole content; anything else still there appeared or changed after
// the scan, or has a name the code page cannot hold (which no call can remove), so it stays,
// the folder with it, and `*kept` is set. `rules` gives the exclusion list. False when a
// removal failed.
bool RemoveLocalFolderRest(FileSystem& files, const SyncTable& rules, const std::string& path,
                           bool* kept);

}  // namespace qbrk
