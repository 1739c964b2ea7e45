// qbrkGetMirrorFolderPath and qbrkGetMirrorFolderPathEx: the mirror folder into the host's
// buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/env.h"
#include "settings/folders.h"

namespace qbrk {

// The host's buffer holds at least this many bytes; nothing beyond them is ever written.
inline constexpr size_t kHostPathBufferSize = 260;

// Copies `path` and its terminator into `buffer`. A path that would not fit is not cut (a
// cut path names another folder): the buffer then gets an empty string and the result is false.
bool CopyToHostBuffer(const std::string& path, char* buffer);

// Resolves the mirror folder; with `repair` the resolution is interactive and a vanished
// folder goes to `ask_user`. 1 with the path in `buffer` when the folder is set and exists;
// 0 otherwise, and at once for a null buffer.
uint32_t MirrorFolderPathIntoBuffer(Env& env, char* buffer, bool repair,
                                    const MirrorFolderRepair& ask_user);

}  // namespace qbrk
