#include "settings/folders.h"

#include "common/mbcs.h"
#include "platform/file_system.h"
#include "platform/host_window.h"
#include "platform/shell.h"
#include "settings/settings.h"

namespace qbrk {

namespace {

// A known folder without the one trailing backslash that a drive root carries.
bool BaseFolder(Shell& shell, KnownFolder which, std::string* folder) {
  std::string path;
  if (shell.GetFolderPath(which, /*create=*/true, &path) != sys_error::kSuccess || path.empty())
    return false;
  if (EndsWithSingleByte(path, '\\')) path.pop_back();
  *folder = std::move(path);
  return true;
}

// Creates a folder; one that exists already is fine, a file of that name is not.
bool EnsureFolder(FileSystem& files, const std::string& path) {
  const SysError made = files.MakeDirectory(path);
  if (made == sys_error::kSuccess) return true;
  if (made != sys_error::kAlreadyExists) return false;
  uint32_t attributes = 0;
  return files.GetAttributes(path, &attributes) == sys_error::kSuccess &&
         (attributes & file_attr::kDirectory);
}

// First run: "My Quellanbrook" in My Documents, stored as Mirror.
bool CreateDefaultMirror(Env& env, Settings& settings, std::string* path) {
  std::string folder;
  if (!BaseFolder(env.shell, KnownFolder::kPersonal, &folder)) return false;
  folder += '\\';
  folder += kDefaultMirrorName;
  if (folder.size() + 1 > kMaxPathBytes) return false;
  if (!EnsureFolder(env.files, folder) || !settings.WriteMirror(folder)) return false;
  // The attribute is only a marker here; the folder is known to exist.
  env.files.SetAttributes(folder, file_attr::kReadOnly);
  *path = std::move(folder);
  return true;
}

bool IsVanished(SysError error) {
  return error == sys_error::kFileNotFound || error == sys_error::kPathNotFound ||
         error == sys_error::kAccessDenied;
}

bool Resolve(Env& env, Settings& settings, bool interactive, const MirrorFolderRepair& repair,
             std::string* path) {
  for (int round = 0;; ++round) {
    std::string stored;
    const ValueRead state = settings.ReadMirrorValue(&stored);
    if ((state != ValueRead::kOk || stored.empty()) && state != ValueRead::kBadData)
      return CreateDefaultMirror(env, settings, path);

    SysError error = sys_error::kPathNotFound;  // a damaged value names no folder
    if (state == ValueRead::kOk) {
      // Setting the attribute doubles as the existence test.
      error = env.files.SetAttributes(stored, file_attr::kReadOnly);
      if (error == sys_error::kSuccess) {
        *path = std::move(stored);
        return true;
      }
    } else {
      stored.clear();
    }
    if (!interactive || !repair || !IsVanished(error) || round >= kMaxMirrorRepairRounds)
      return false;
    if (!repair(stored)) return false;
  }
}

}  // namespace

bool ResolveMirrorFolder(Env& env, bool interactive, const MirrorFolderRepair& repair,
                         std::string* path) {
  Settings settings(env.registry, env.clock);
  if (Resolve(env, settings, interactive, repair, path)) return true;
  if (settings.Animation() != 0) env.host.PostCommand(IDC_HOST_ANIMATION_OFF, 0);
  return false;
}

bool ResolveDataFolder(Env& env, std::string* path) {
  std::string folder;
  if (!BaseFolder(env.shell, KnownFolder::kLocalAppData, &folder)) return false;
  for (const char* part : {"Halvorn", "Quellanbrook", "1.0"}) {
    folder += '\\';
    folder += part;
    if (!EnsureFolder(env.files, folder)) return false;
  }
  *path = std::move(folder);
  return true;
}

bool TableFilePath(Env& env, std::string* path) {
  std::string folder;
  if (!ResolveDataFolder(env, &folder)) return false;
  *path = folder + '\\' + kTableFileName;
  return true;
}

}  // namespace qbrk
