#include "exports/export_rules.h"

#include <array>

namespace qbrk {

namespace {

using enum ExportId;

// Exports whose callers treat 2 as "try later" answer 2; the others have no result that
// could say so, and 0 ("nothing was done") is their busy answer.
constexpr std::array<ExportRule, 17> kRules{{
    {kChangeLocalMirrorPath, "qbrkChangeLocalMirrorPath", true, true, 0},
    {kChckStartUpSynchro, "qbrkChckStartUpSynchro", true, true, 0},
    {kDeleteAllSeverFile, "qbrkDeleteAllSeverFile", true, true, 0},
    {kDeleteTableFile, "qbrkDeleteTableFile", true, true, 0},
    {kGetMirrorFolderPathEx, "qbrkGetMirrorFolderPathEx", false, false, 0},
    {kMsgBox, "qbrkMsgBox", false, false, 0},
    {kOnDestroy, "qbrkOnDestroy", true, true, 2},
    {kOnInit, "qbrkOnInit", true, true, 2},
    {kOpenDiskSpaceDlg, "qbrkOpenDiskSpaceDlg", true, true, 0},
    {kOpenOptionDlg, "qbrkOpenOptionDlg", true, true, 0},
    {kOpenSyncListDlg, "qbrkOpenSyncListDlg", true, true, 0},
    {kPublishFolder, "qbrkPublishFolder", true, true, 0},
    {kSeparateFileTransfer, "qbrkSeparateFileTransfer", true, true, 2},
    {kSynchronize, "qbrkSynchronize", true, true, 0},
    {kUpdate, "qbrkUpdate", true, false, 0},
    {kViewHomePage, "qbrkViewHomePage", false, false, 0},
    {kGetMirrorFolderPath, "qbrkGetMirrorFolderPath", false, false, 0},
}};

}  // namespace

const ExportRule& RuleOf(ExportId id) {
  return kRules[static_cast<size_t>(id)];
}

std::span<const ExportRule> AllExportRules() {
  return kRules;
}

}  // namespace qbrk
