// The seventeen exports of HVqbrkCn.dll, as the host program calls them.
//
// Every export uses the __stdcall convention (WINAPI) and is exported by its undecorated
// name with the ordinal given in HVqbrkCn.def. docs/exports.md describes each one.
#pragma once

#include <windows.h>

extern "C" {

// One file of a separate transfer; the host owns the records.
struct QbrkTransferItem {
  char local_path[260];   // full local path
  char server_path[260];  // path below the disk root, starting with "/"
  DWORD operation;        // 1 upload, 2 download, 3 delete
  DWORD status;           // written by the library: 99 not done, 50 done, 51 stopped, 52 refused
};

UINT WINAPI qbrkChangeLocalMirrorPath(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkChckStartUpSynchro(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkDeleteAllSeverFile(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkDeleteTableFile(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkGetMirrorFolderPathEx(LPSTR buffer, UINT repair);
UINT WINAPI qbrkMsgBox(LPCSTR text, LPCSTR caption, UINT type, HWND owner);
UINT WINAPI qbrkOnDestroy(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkOnInit(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkOpenDiskSpaceDlg(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkOpenOptionDlg(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkOpenSyncListDlg(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkPublishFolder(UINT_PTR host_value, HWND owner);
// `items` is a null-terminated array of pointers; note the owner before the host value.
UINT WINAPI qbrkSeparateFileTransfer(QbrkTransferItem** items, UINT flags, HWND owner,
                                     UINT_PTR host_value);
UINT WINAPI qbrkSynchronize(UINT_PTR host_value, HWND owner);
UINT WINAPI qbrkUpdate(void);
UINT WINAPI qbrkViewHomePage(LPCSTR value_name);
UINT WINAPI qbrkGetMirrorFolderPath(LPSTR buffer);

}  // extern "C"
