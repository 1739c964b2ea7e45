// The seventeen exports as the command guard sees them: which ones wait for the command
// mutex and tell the host that the library is busy, and what each answers when it is busy.
#pragma once

#include <cstdint>
#include <span>

namespace qbrk {

enum class ExportId {
  kChangeLocalMirrorPath,
  kChckStartUpSynchro,
  kDeleteAllSeverFile,
  kDeleteTableFile,
  kGetMirrorFolderPathEx,
  kMsgBox,
  kOnDestroy,
  kOnInit,
  kOpenDiskSpaceDlg,
  kOpenOptionDlg,
  kOpenSyncListDlg,
  kPublishFolder,
  kSeparateFileTransfer,
  kSynchronize,
  kUpdate,
  kViewHomePage,
  kGetMirrorFolderPath,
};

struct ExportRule {
  ExportId id;
  const char* name;
  // Runs under the command guard (the mutex and the busy messages to the host).
  bool guarded = false;
  // Keeps the host value and owner window it is given (qbrkUpdate has no arguments).
  bool keeps_host_arguments = false;
  // Returned at once, silently, when the command mutex cannot be had.
  uint32_t busy_result = 0;
};

const ExportRule& RuleOf(ExportId id);

// Every export, in ordinal order (qbrkGetMirrorFolderPath last).
std::span<const ExportRule> AllExportRules();

}  // namespace qbrk
