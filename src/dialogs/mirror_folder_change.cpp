#include "dialogs/mirror_folder_change.h"

#include "common/mbcs.h"
#include "platform/file_system.h"
#include "settings/folders.h"
#include "settings/settings.h"

namespace qbrk {

namespace {

bool IsAsciiLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// "X:\..." or "\\server\share...": a relative path would land in whatever folder the host
// happens to run in.
bool IsFullPath(const std::string& path) {
  if (path.size() >= 3 && IsAsciiLetter(path[0]) && path[1] == ':' && path[2] == '\\') return true;
  return path.size() > 2 && path[0] == '\\' && path[1] == '\\' && path[2] != '\\';
}

// Drops trailing blanks (Windows drops them from names anyway) and trailing backslashes,
// except the one of a drive root. A trail byte is never taken for either.
std::string Normalise(const std::string& entered) {
  std::string path = entered;
  while (!path.empty()) {
    const bool blank = EndsWithSingleByte(path, ' ');
    const bool backslash = EndsWithSingleByte(path, '\\') && path.size() > 3;
    if (!blank && !backslash) break;
    path.pop_back();
  }
  return path;
}

MirrorChange Rejected(ResultCode error) {
  MirrorChange change;
  change.outcome = MirrorChange::Outcome::kRejected;
  change.error = error;
  return change;
}

}  // namespace

bool DefaultMirrorPath(Shell& shell, std::string* path) {
  std::string documents;
  if (shell.GetFolderPath(KnownFolder::kPersonal, /*create=*/true, &documents) !=
          sys_error::kSuccess ||
      documents.empty())
    return false;
  if (!EndsWithSingleByte(documents, '\\')) documents += '\\';
  *path = documents + kDefaultMirrorName;
  return true;
}

std::string InitialMirrorPath(Env& env) {
  Settings settings(env.registry);
  std::string path;
  if (settings.ReadMirror(&path) && !path.empty()) return path;
  return DefaultMirrorPath(env.shell, &path) ? path : std::string();
}

MirrorChange ApplyMirrorFolderChange(Env& env, MirrorDialogMode mode, const std::string& current,
                                     const std::string& entered) {
  const std::string path = Normalise(entered);
  MirrorChange change;
  change.path = path;
  // The same folder in any letter case is the same folder.
  if (mode == MirrorDialogMode::kCommand && !current.empty() &&
      EqualsIgnoringAsciiCase(path, Normalise(current))) {
    change.outcome = MirrorChange::Outcome::kUnchanged;
    return change;
  }
  if (!IsFullPath(path) || path.size() + 1 > kMaxPathBytes)
    return Rejected(result::kFolderUnusable);

  const SysError made = env.files.MakeDirectory(path);
  if (made != sys_error::kSuccess) {
    uint32_t attributes = 0;
    // 183 is also what a file of that name gives; only a folder will do.
    if (made != sys_error::kAlreadyExists ||
        env.files.GetAttributes(path, &attributes) != sys_error::kSuccess ||
        !(attributes & file_attr::kDirectory))
      return Rejected(result::kFolderUnusable);
  }
  if (env.files.SetAttributes(path, file_attr::kReadOnly) != sys_error::kSuccess)
    return Rejected(result::kFolderUnusable);

  Settings settings(env.registry);
  if (!settings.WriteMirror(path)) return Rejected(result::kGeneralFailure);
  change.outcome = MirrorChange::Outcome::kChanged;
  return change;
}

}  // namespace qbrk
