// Change planning: the local tree and the server tree are each compared with the recorded
// tree (the state of the last synchronization), and the differences are written as marks
// into one plan tree. There is no three-way comparison of contents: a file counts as changed
// when its time stamp or its size differs from the record, to the last 100 ns.
//
// The job's order: load the record; PlanLocalSide; load the record again (so the marks of the
// local half do not leak into the server half); PlanServerSide into the same plan;
// MergeMarks; LeaveOutTypeClashes; ResolveChoices.
#pragma once

#include <cstdint>
#include <string>

#include "common/result_code.h"
#include "sync/sync_context.h"
#include "sync/sync_statistics.h"
#include "sync/sync_table.h"

namespace qbrk {

// New and changed local files (2), new local folders (64), and recorded entries gone from
// the local disk (16). 0; 2 when the plan's root cannot be made; 500 for a null table or a
// recorded entry without a name.
ResultCode PlanLocalSide(SyncTable* local, SyncTable* recorded, SyncTable* plan);
// The same for the server: 4, 32 and 8. Names the server scan left out are then taken out
// of the plan, whatever the local half planned for them. 0 or 500.
ResultCode PlanServerSide(SyncTable* server, SyncTable* recorded, SyncTable* plan);
// The same halves while the scans run: each scanned folder is planned as soon as it is
// complete and its files are freed then, so that a large disk is never held as a whole tree
// beside the record (the scanned table keeps its folders). The plan is the one the scan and
// the half above make, with the codes of either; `local` and `server` are emptied first.
ResultCode ScanAndPlanLocalSide(SyncTable* local, const std::string& folder_path,
                                SyncTable* recorded, SyncTable* plan);
// Lists the whole disk through the table's connection.
ResultCode ScanAndPlanServerSide(SyncTable* server, SyncTable* recorded, SyncTable* plan);
// Settles contradictory marks: a change wins over a deletion on the other side, and a folder
// deleted on one side that holds transfers is created again instead. 0, or 3 without a root.
ResultCode MergeMarks(SyncTable* plan);
// Names one local entry cannot hold twice, on a merged plan. Names that only case tells
// apart (full-width, Greek or Cyrillic letters) would land on one local file or folder: all
// of them are left out. A name that is a file on one side and a folder on the other: where
// one side replaced the recorded entry by the other kind, ResolveChoices lets the
// replacement win; any other such pair is left out. What is left out stays as it is on both
// sides and is logged with its server path (below `server_root`). 0, 3 without a root, 500
// when memory ran out.
ResultCode LeaveOutTypeClashes(SyncTable* plan, const std::string& server_root);
// Asks the user about conflicts and one-sided deletions (through the job's dialog when it is
// attached, else through the context's prompt) and counts the work. 0; 1 when a question was
// cancelled or the job was stopped; 500 for a null argument.
ResultCode ResolveChoices(SyncContext* context, SyncTable* plan, SyncStatistics* statistics);
// 1 when the plan holds anything to do, else 0.
int HasPendingWork(const SyncTable* plan);
int HasPendingWork(const FolderNode* folder);

}  // namespace qbrk
