#include "platform/memory/fake_shell.h"

#include "common/mbcs.h"

namespace qbrk {

FakeShell::FakeShell(FileSystem& files) : files_(files) {
  folders_[KnownFolder::kPersonal] = "C:\\Users\\taro\\Documents";
  folders_[KnownFolder::kLocalAppData] = "C:\\Users\\taro\\AppData\\Local";
  folders_[KnownFolder::kStartup] =
      "C:\\Users\\taro\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Startup";
  folders_[KnownFolder::kDesktop] = "C:\\Users\\taro\\Desktop";
}

SysError FakeShell::GetFolderPath(KnownFolder folder, bool create, std::string* path) {
  auto it = folders_.find(folder);
  if (it == folders_.end()) return sys_error::kFileNotFound;
  uint32_t attributes = 0;
  if (files_.GetAttributes(it->second, &attributes) != sys_error::kSuccess) {
    if (!create) return sys_error::kFileNotFound;
    // Create each missing component, as CSIDL_FLAG_CREATE does.
    for (size_t at = FindSingleByte(it->second, '\\', 3);; at = FindSingleByte(it->second, '\\', at + 1)) {
      const std::string prefix = it->second.substr(0, at);
      SysError made = files_.MakeDirectory(prefix);
      if (made != sys_error::kSuccess && made != sys_error::kAlreadyExists) return made;
      if (at == std::string::npos) break;
    }
  }
  *path = it->second;
  return sys_error::kSuccess;
}

bool FakeShell::CreateShortcut(const std::string& link_path, const ShortcutSpec& spec) {
  std::unique_ptr<File> file;
  if (files_.OpenFile(link_path, file_access::kWrite, file_share::kNone,
                      Disposition::kCreateAlways, &file) != sys_error::kSuccess)
    return false;
  const std::string marker = "shell link to " + spec.target;
  if (file->Write(marker.data(), static_cast<uint32_t>(marker.size())) != sys_error::kSuccess)
    return false;
  shortcuts_[link_path] = spec;
  return true;
}

bool FakeShell::RunCommandLine(const std::string& command_line) {
  command_lines_.push_back(command_line);
  return true;
}

bool FakeShell::ShellOpen(const std::string& verb, const std::string& file) {
  shell_opens_.emplace_back(verb, file);
  return true;
}

bool FakeShell::RunProcessAndWait(const std::string& command_line) {
  processes_.push_back(command_line);
  return process_starts_;
}

}  // namespace qbrk
