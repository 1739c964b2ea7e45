// Entry points of the library. Each one stays a thin shell: the guard, the kept host
// arguments and the commands are elsewhere; here every call is fenced so that no exception
// reaches the host.
#include "exports/qbrk_exports.h"

#include <cstdint>
#include <functional>

#include "exports/commands.h"
#include "exports/library_state.h"
#include "platform/win32/win32_env.h"
#include "shell/updater.h"

namespace {

using qbrk::ExportId;

template <typename Work>
UINT Fenced(UINT on_failure, const Work& work) noexcept {
  try {
    return work();
  } catch (...) {
    return on_failure;
  }
}

// A guarded export: the command runs under the command guard; a failed command did nothing.
UINT Guarded(ExportId id, UINT_PTR host_value, HWND owner,
             const std::function<uint32_t()>& command) noexcept {
  return Fenced(0, [&] {
    return qbrk::Guard().Run(id, host_value, reinterpret_cast<uintptr_t>(owner), command);
  });
}

// The window that owns a command's boxes: the caller's, else the one kept from earlier calls.
HWND OwnerFor(HWND given) {
  return reinterpret_cast<HWND>(qbrk::KeptArguments().OwnerFor(reinterpret_cast<uintptr_t>(given)));
}

// The options dialog belongs to the window the host passes as its value; a value that names
// no window leaves it to the owner every other command uses.
HWND OptionsOwner(UINT_PTR host_value, HWND owner) {
  HWND host = reinterpret_cast<HWND>(host_value);
  return host_value != 0 && IsWindow(host) ? host : OwnerFor(owner);
}

// Commands whose dialogs are not in the library yet run the guard and report that nothing ran.
UINT NotYetRun(ExportId id, UINT_PTR host_value, HWND owner) noexcept {
  return Guarded(id, host_value, owner, [] { return 0u; });
}

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  try {
    if (reason == DLL_PROCESS_ATTACH) {
      DisableThreadLibraryCalls(instance);
      qbrk::AttachLibrary();
    } else if (reason == DLL_PROCESS_DETACH) {
      qbrk::DetachLibrary();
    }
  } catch (...) {
    // Without its mutex the library still loads: every guarded export then answers busy.
  }
  return TRUE;
}

UINT WINAPI qbrkChangeLocalMirrorPath(UINT_PTR host_value, HWND owner) {
  return Guarded(ExportId::kChangeLocalMirrorPath, host_value, owner,
                 [owner] { return qbrk::ChangeMirrorFolder(qbrk::Win32Env(), OwnerFor(owner)); });
}

UINT WINAPI qbrkChckStartUpSynchro(UINT_PTR host_value, HWND owner) {
  return Guarded(ExportId::kChckStartUpSynchro, host_value, owner,
                 [owner] { return qbrk::StartUpCheck(qbrk::Win32Env(), OwnerFor(owner)); });
}

UINT WINAPI qbrkDeleteAllSeverFile(UINT_PTR host_value, HWND owner) {
  return NotYetRun(ExportId::kDeleteAllSeverFile, host_value, owner);
}

UINT WINAPI qbrkDeleteTableFile(UINT_PTR host_value, HWND owner) {
  return NotYetRun(ExportId::kDeleteTableFile, host_value, owner);
}

UINT WINAPI qbrkGetMirrorFolderPathEx(LPSTR buffer, UINT repair) {
  return Fenced(0, [&] {
    return qbrk::MirrorFolderPath(qbrk::Win32Env(), buffer, repair != 0, OwnerFor(nullptr));
  });
}

UINT WINAPI qbrkMsgBox(LPCSTR text, LPCSTR caption, UINT type, HWND owner) {
  return Fenced(0xFFFFFFFF,
                [&] { return qbrk::MessageBoxCommand(text, caption, type, OwnerFor(owner)); });
}

UINT WINAPI qbrkOnDestroy(UINT_PTR host_value, HWND owner) {
  return Guarded(ExportId::kOnDestroy, host_value, owner,
                 [] { return qbrk::ShutDownLibrary(qbrk::Win32Env()); });
}

UINT WINAPI qbrkOnInit(UINT_PTR host_value, HWND owner) {
  return Guarded(ExportId::kOnInit, host_value, owner, [] { return qbrk::InitLibrary(); });
}

UINT WINAPI qbrkOpenDiskSpaceDlg(UINT_PTR host_value, HWND owner) {
  return NotYetRun(ExportId::kOpenDiskSpaceDlg, host_value, owner);
}

UINT WINAPI qbrkOpenOptionDlg(UINT_PTR host_value, HWND owner) {
  return Guarded(ExportId::kOpenOptionDlg, host_value, owner, [host_value, owner] {
    return qbrk::OpenOptionsCommand(qbrk::Win32Env(), OptionsOwner(host_value, owner));
  });
}

UINT WINAPI qbrkOpenSyncListDlg(UINT_PTR host_value, HWND owner) {
  return NotYetRun(ExportId::kOpenSyncListDlg, host_value, owner);
}

UINT WINAPI qbrkPublishFolder(UINT_PTR host_value, HWND owner) {
  return NotYetRun(ExportId::kPublishFolder, host_value, owner);
}

UINT WINAPI qbrkSeparateFileTransfer(QbrkTransferItem** items, UINT flags, HWND owner,
                                     UINT_PTR host_value) {
  return Guarded(ExportId::kSeparateFileTransfer, host_value, owner,
                 [&] { return qbrk::TransferFiles(items, flags, OwnerFor(owner)); });
}

UINT WINAPI qbrkSynchronize(UINT_PTR host_value, HWND owner) {
  return Guarded(ExportId::kSynchronize, host_value, owner,
                 [owner] { return qbrk::Synchronize(qbrk::Win32Env(), OwnerFor(owner)); });
}

UINT WINAPI qbrkUpdate(void) {
  return Guarded(ExportId::kUpdate, 0, nullptr, [] { return qbrk::RunUpdater(qbrk::Win32Env()); });
}

UINT WINAPI qbrkViewHomePage(LPCSTR value_name) {
  return Fenced(1, [&] { return qbrk::ViewHomePageCommand(qbrk::Win32Env(), value_name); });
}

UINT WINAPI qbrkGetMirrorFolderPath(LPSTR buffer) {
  return qbrkGetMirrorFolderPathEx(buffer, 0);
}

}  // extern "C"
