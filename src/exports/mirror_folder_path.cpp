#include "exports/mirror_folder_path.h"

#include <cstring>

namespace qbrk {

bool CopyToHostBuffer(const std::string& path, char* buffer) {
  if (path.size() >= kHostPathBufferSize) {
    buffer[0] = '\0';
    return false;
  }
  std::memcpy(buffer, path.c_str(), path.size() + 1);
  return true;
}

uint32_t MirrorFolderPathIntoBuffer(Env& env, char* buffer, bool repair,
                                    const MirrorFolderRepair& ask_user) {
  if (!buffer) return 0;
  std::string path;
  if (!ResolveMirrorFolder(env, repair, repair ? ask_user : MirrorFolderRepair(), &path)) {
    buffer[0] = '\0';
    return 0;
  }
  return CopyToHostBuffer(path, buffer) ? 1 : 0;
}

}  // namespace qbrk
