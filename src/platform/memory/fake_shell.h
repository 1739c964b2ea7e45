// A shell that keeps its folders in a FileSystem and records what it was asked to start.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/file_system.h"
#include "platform/shell.h"

namespace qbrk {

class FakeShell final : public Shell {
 public:
  // Folders default to C:\Users\taro\... and are created in `files` on demand.
  explicit FakeShell(FileSystem& files);

  SysError GetFolderPath(KnownFolder folder, bool create, std::string* path) override;
  std::string ProgramPath() override { return program_path_; }
  std::string LibraryPath() override { return library_path_; }
  bool CreateShortcut(const std::string& link_path, const ShortcutSpec& spec) override;
  bool RunCommandLine(const std::string& command_line) override;
  bool ShellOpen(const std::string& verb, const std::string& file) override;
  bool RunProcessAndWait(const std::string& command_line) override;

  void set_folder(KnownFolder folder, std::string path) { folders_[folder] = std::move(path); }
  void remove_folder(KnownFolder folder) { folders_.erase(folder); }
  void set_program_path(std::string path) { program_path_ = std::move(path); }
  void set_library_path(std::string path) { library_path_ = std::move(path); }
  void set_process_starts(bool starts) { process_starts_ = starts; }

  const std::map<std::string, ShortcutSpec>& shortcuts() const { return shortcuts_; }
  const std::vector<std::string>& command_lines() const { return command_lines_; }
  const std::vector<std::pair<std::string, std::string>>& shell_opens() const {
    return shell_opens_;
  }
  const std::vector<std::string>& processes() const { return processes_; }

 private:
  FileSystem& files_;
  std::map<KnownFolder, std::string> folders_;
  std::string program_path_ = "C:\\Program Files\\Qbrook\\HVQBRKUT.EXE";
  std::string library_path_ = "C:\\Program Files\\Qbrook\\HVqbrkCn.dll";
  bool process_starts_ = true;
  std::map<std::string, ShortcutSpec> shortcuts_;
  std::vector<std::string> command_lines_;
  std::vector<std::pair<std::string, std::string>> shell_opens_;
  std::vector<std::string> processes_;
};

}  // namespace qbrk
