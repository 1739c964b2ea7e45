// Entry points of the library. Each one stays a thin shell: the work is elsewhere.
#include "exports/qbrk_exports.h"

extern "C" {

UINT WINAPI qbrkChangeLocalMirrorPath(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkChckStartUpSynchro(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkDeleteAllSeverFile(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkDeleteTableFile(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkGetMirrorFolderPathEx(LPSTR, UINT) { return 0; }
UINT WINAPI qbrkMsgBox(LPCSTR, LPCSTR, UINT, HWND) { return 0xFFFFFFFF; }
UINT WINAPI qbrkOnDestroy(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkOnInit(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkOpenDiskSpaceDlg(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkOpenOptionDlg(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkOpenSyncListDlg(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkPublishFolder(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkSeparateFileTransfer(QbrkTransferItem**, UINT, HWND, UINT_PTR) { return 0; }
UINT WINAPI qbrkSynchronize(UINT_PTR, HWND) { return 0; }
UINT WINAPI qbrkUpdate(void) { return 0; }
UINT WINAPI qbrkViewHomePage(LPCSTR) { return 1; }
UINT WINAPI qbrkGetMirrorFolderPath(LPSTR) { return 0; }

}  // extern "C"
