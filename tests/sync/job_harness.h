// The synchronize job as its dialog sees it: a sync scenario whose settings name the mirror
// folder, the data folder and the account, a ScriptedDialogLink that plays the dialog
// (questions answered from the scenario's prompt), and the job run to its end.
#pragma once

#include <memory>
#include <vector>

#include "platform/memory/scripted_dial_up.h"
#include "platform/memory/scripted_dialog_link.h"
#include "scenario.h"
#include "sync/job_record.h"

namespace qbrk::testing {

inline constexpr char kAppData[] = "C:\\appdata";

class JobScenario : public SyncScenario {
 protected:
  JobScenario();

  // Runs the synchronize job with `record` (a fresh one when null), linked to `dialog_`.
  ResultCode RunJob(std::unique_ptr<JobRecord> record = nullptr);
  // The messages the dialog received, without the per-block progress (1079).
  std::vector<uint32_t> Messages() const;
  // The parameter of the n-th posted `message` (0-based), or -1.
  intptr_t WParamOf(uint32_t message, size_t occurrence = 0) const;
  // Stores the settings the job reads: mirror folder, host, account.
  void StoreSettings();
  // Removes the table file (which a save leaves read-only, hidden and system).
  void RemoveTable();
  // Writes `bytes` as the table file.
  void WriteTable(const std::string& bytes);

  ScriptedDialogLink dialog_;
  ScriptedDialUp dial_up_;
  // What the dialog read from the error name buffer when the failure arrived.
  std::string shown_error_name_;
  std::string error_name_buffer_;
  std::vector<ResultCode> reported_;  // codes shown by the connection's error reporter
};

}  // namespace qbrk::testing
