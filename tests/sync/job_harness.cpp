#include "job_harness.h"

#include "platform/registry.h"
#include "protocol/worker_messages.h"
#include "settings/settings.h"
#include "sync/job_messages.h"
#include "sync/sync_job.h"

namespace qbrk::testing {

JobScenario::JobScenario() {
  twin_.shell.set_folder(KnownFolder::kLocalAppData, kAppData);
  files_.MakeDirectory(kAppData);
  data_folder_ = std::string(kAppData) + "\\Halvorn\\Quellanbrook\\1.0";
  dial_up_.set_present(false);
  StoreSettings();
  for (ChoiceQuestion question :
       {ChoiceQuestion::kDeletedLocally, ChoiceQuestion::kDeletedOnServer,
        ChoiceQuestion::kConflict}) {
    dialog_.OnMessage(static_cast<uint32_t>(question), [this, question](uintptr_t w, intptr_t l) {
      *reinterpret_cast<uint32_t*>(l) = prompt_.Ask(question, reinterpret_cast<const char*>(w));
    });
  }
  dialog_.OnMessage(job_message::kFailed, [this](uintptr_t, intptr_t) {
    shown_error_name_ = error_name_buffer_;
  });
}

void JobScenario::StoreSettings() {
  Settings settings(twin_.registry, clock_);
  settings.WriteMirror(kMirror);
  settings.WriteCredentials(CredentialKind::kService, kAccount, kPassword, true);
  twin_.registry.PutString(RegistryRoot::kCurrentUser, kSettingsKey, "Domain", "dav.example.jp");
  settings.WriteDword("PutUnit", upload_unit_);
  settings.WriteDword("PutLog", 0);
}

void JobScenario::RemoveTable() {
  files_.SetAttributes(TablePath(), file_attr::kNormal);
  files_.RemoveFile(TablePath());
}

void JobScenario::WriteTable(const std::string& bytes) {
  files_.MakeDirectory(data_folder_);
  RemoveTable();
  ASSERT_TRUE(files_.WriteWholeFile(TablePath(), bytes));
}

ResultCode JobScenario::RunJob(std::unique_ptr<JobRecord> record) {
  if (!record) record = std::make_unique<JobRecord>();
  record->link = &dialog_;
  record->error_name = &error_name_buffer_;
  ConnectionUi ui;
  ui.owner_window = 0x42;
  ui.report_error = [this](ResultCode code) { reported_.push_back(code); };
  stats_ = SyncStatistics();
  return RunSynchronizeJob(twin_.env, NetPlatform{http_, dial_up_}, ui, std::move(record),
                           &stats_);
}

std::vector<uint32_t> JobScenario::Messages() const {
  std::vector<uint32_t> out;
  for (uint32_t message : dialog_.messages())
    if (message != worker_message::kProgress) out.push_back(message);
  return out;
}

intptr_t JobScenario::WParamOf(uint32_t message, size_t occurrence) const {
  for (const auto& posted : dialog_.posted())
    if (posted.message == message && occurrence-- == 0) return static_cast<intptr_t>(posted.wparam);
  return -1;
}

}  // namespace qbrk::testing
