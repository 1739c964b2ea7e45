#include "shell/updater.h"

#include "common/mbcs.h"
#include "platform/shell.h"
#include "settings/settings.h"

namespace qbrk {

std::string UpdaterCommandLine(const std::string& install_folder) {
  std::string line = "\"" + install_folder;
  if (!EndsWithSingleByte(install_folder, '\\')) line += '\\';
  line += "hvqbrksu.exe\" /u";
  return line;
}

uint32_t RunUpdater(Env& env) {
  Settings settings(env.registry);
  std::string folder;
  if (!settings.ReadSetupFolder(&folder)) return 0;
  return env.shell.RunProcessAndWait(UpdaterCommandLine(folder)) ? 1 : 0;
}

}  // namespace qbrk
