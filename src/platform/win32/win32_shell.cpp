#include "platform/win32/win32_shell.h"

#include <windows.h>
// After <windows.h>, which they depend on.
#include <shellapi.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <vector>

#include "platform/win32/com_ptr.h"
#include "platform/win32/own_module.h"
#include "platform/win32/unique_handle.h"

namespace qbrk {

namespace {

int Csidl(KnownFolder folder) {
  switch (folder) {
    case KnownFolder::kLocalAppData:
      return CSIDL_LOCAL_APPDATA;
    case KnownFolder::kStartup:
      return CSIDL_STARTUP;
    case KnownFolder::kDesktop:
      return CSIDL_DESKTOPDIRECTORY;
    case KnownFolder::kPersonal:
      break;
  }
  return CSIDL_PERSONAL;
}

// SHGetFolderPathA answers with an HRESULT; the seams speak Win32 error numbers.
SysError FromHresult(HRESULT result) {
  if (result == S_OK) return sys_error::kSuccess;
  if (HRESULT_FACILITY(result) == FACILITY_WIN32) return HRESULT_CODE(result);
  if (result == E_INVALIDARG) return sys_error::kInvalidParameter;
  // S_FALSE and E_FAIL: the folder does not exist (and was not to be created).
  return sys_error::kFileNotFound;
}

std::string ModuleFileName(HMODULE module) {
  // Paths longer than MAX_PATH are possible; 32 KiB is the longest a module name can be.
  for (DWORD size = MAX_PATH; size <= 32768; size *= 2) {
    std::vector<char> buffer(size);
    const DWORD length = GetModuleFileNameA(module, buffer.data(), size);
    if (length == 0) return std::string();
    if (length < size) return std::string(buffer.data(), length);
  }
  return std::string();
}

}  // namespace

SysError Win32Shell::GetFolderPath(KnownFolder folder, bool create, std::string* path) {
  char buffer[MAX_PATH] = {};
  const int csidl = Csidl(folder) | (create ? CSIDL_FLAG_CREATE : 0);
  const HRESULT result = SHGetFolderPathA(nullptr, csidl, nullptr, SHGFP_TYPE_CURRENT, buffer);
  if (SysError error = FromHresult(result)) return error;
  *path = buffer;
  return sys_error::kSuccess;
}

std::string Win32Shell::ProgramPath() {
  return ModuleFileName(nullptr);
}

std::string Win32Shell::LibraryPath() {
  HMODULE module = OwnModule();
  return module ? ModuleFileName(module) : std::string();
}

bool Win32Shell::CreateShortcut(const std::string& link_path, const ShortcutSpec& spec) {
  ComScope com;
  if (!com.usable()) return false;
  // Declared after `com`, so both interfaces are released before COM is uninitialised.
  ComPtr<IShellLinkA> link;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA,
                              link.put_void())))
    return false;
  if (FAILED(link->SetPath(spec.target.c_str()))) return false;
  if (FAILED(link->SetDescription(spec.description.c_str()))) return false;
  HRESULT result = S_OK;
  ComPtr<IPersistFile> file = link.As<IPersistFile>(IID_IPersistFile, &result);
  if (!file) return false;
  if (FAILED(link->SetIconLocation(spec.icon_path.c_str(), spec.icon_index))) return false;
  if (FAILED(link->SetShowCmd(spec.show_command))) return false;
  wchar_t wide_path[MAX_PATH];
  if (MultiByteToWideChar(CP_ACP, 0, link_path.c_str(), -1, wide_path, MAX_PATH) == 0) return false;
  return SUCCEEDED(file->Save(wide_path, TRUE));
}

bool Win32Shell::RunCommandLine(const std::string& command_line) {
  // WinExec answers 32 or more when the program started, an error number below that.
  return WinExec(command_line.c_str(), SW_SHOWNORMAL) > 31;
}

bool Win32Shell::ShellOpen(const std::string& verb, const std::string& file) {
  // Shell extensions that handle the verb may be COM objects.
  ComScope com;
  const HINSTANCE result =
      ShellExecuteA(nullptr, verb.c_str(), file.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  return reinterpret_cast<INT_PTR>(result) > 32;
}

bool Win32Shell::RunProcessAndWait(const std::string& command_line) {
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_FORCEONFEEDBACK;
  PROCESS_INFORMATION info = {};
  // CreateProcessA may write into the command line, so it gets a copy of its own.
  std::vector<char> line(command_line.begin(), command_line.end());
  line.push_back('\0');
  if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NEW_CONSOLE, nullptr,
                      nullptr, &startup, &info))
    return false;
  UniqueProcess process(info.hProcess);
  UniqueThread thread(info.hThread);
  WaitForSingleObject(process.get(), INFINITE);
  return true;
}

}  // namespace qbrk
