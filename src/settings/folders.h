// Resolution of the mirror folder (the local folder kept in step with the server) and of
// the per-user data folder (which holds the local table file).
#pragma once

#include <functional>
#include <string>

#include "platform/env.h"

namespace qbrk {

inline constexpr char kDefaultMirrorName[] = "My Quellanbrook";
inline constexpr char kTableFileName[] = ".Qbrook.dir";

// How many times one resolution asks the user for a new folder before it gives up.
inline constexpr int kMaxMirrorRepairRounds = 10;

// Asked when the stored mirror folder has vanished: tells the user (error 96 with the path,
// or the worker's question to its dialog) and lets them choose another folder. Returns true
// when a new folder was chosen and stored; resolution then starts again. The path is empty
// when the stored value itself is damaged (wrong type or longer than a Windows path).
using MirrorFolderRepair = std::function<bool(const std::string& vanished_path)>;

// Resolves the mirror folder into `path`. A stored folder is confirmed by setting its
// read-only attribute; without a stored value the default "My Quellanbrook" in My Documents
// is created and stored. A vanished folder is never re-created silently: without
// `interactive` (or without `repair`) the resolution fails, otherwise `repair` is asked
// when the folder, its path or access to it is missing (errors 2, 3, 5), at most
// kMaxMirrorRepairRounds times. On failure the host is told to stop its animation (32782)
// unless Animation is 0.
bool ResolveMirrorFolder(Env& env, bool interactive, const MirrorFolderRepair& repair,
                         std::string* path);

// Local Application Data + "\Halvorn\Quellanbrook\1.0", created component by component.
bool ResolveDataFolder(Env& env, std::string* path);

// The data folder + "\.Qbrook.dir".
bool TableFilePath(Env& env, std::string* path);

}  // namespace qbrk
