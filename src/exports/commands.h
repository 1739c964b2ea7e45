// The work each export does once the command guard lets it run (or at once, for the four
// unguarded ones). Every function here may throw; the exports catch at the boundary.
#pragma once

#include <windows.h>

#include <cstdint>

#include "exports/qbrk_exports.h"
#include "platform/env.h"

namespace qbrk {

// qbrkOnInit: makes the job lock.
uint32_t InitLibrary();
// qbrkOnDestroy: waits (at most about 900 seconds) for running jobs, then deletes the job lock.
uint32_t ShutDownLibrary(Env& env);

// qbrkSynchronize: asks first when "SyncNotify" is on (0 when the user declines), then runs
// the synchronize dialog; after a clean run the host hears 32780 with 1. Otherwise 1.
uint32_t Synchronize(Env& env, HWND owner);

// qbrkChckStartUpSynchro: the start-up check. Always 0.
uint32_t StartUpCheck(Env& env, HWND owner);

// qbrkChangeLocalMirrorPath: the mirror folder dialog; 1 when it ended with OK.
uint32_t ChangeMirrorFolder(Env& env, HWND owner);

// qbrkGetMirrorFolderPath(Ex): the mirror folder into `buffer`. With `repair`, a vanished
// folder is reported (error 96 with its path) and the mirror folder dialog lets the user
// choose another, both owned by `owner`.
uint32_t MirrorFolderPath(Env& env, char* buffer, bool repair, HWND owner);

// qbrkOpenOptionDlg: the options dialog on the stored options, stored again on OK. IDOK or
// IDCANCEL as the dialog ended; 0 when it could not be shown.
uint32_t OpenOptionsCommand(Env& env, HWND owner);

// qbrkSeparateFileTransfer: nothing is transferred unless bit 0 of `flags` asks for it.
uint32_t TransferFiles(QbrkTransferItem** items, uint32_t flags, HWND owner);

// qbrkMsgBox.
uint32_t MessageBoxCommand(const char* text, const char* caption, uint32_t type, HWND owner);

// qbrkViewHomePage: a null name opens nothing. Always 1.
uint32_t ViewHomePageCommand(Env& env, const char* value_name);

}  // namespace qbrk
