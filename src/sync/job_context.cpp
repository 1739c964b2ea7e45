#include "sync/job_context.h"

#include "settings/folders.h"
#include "sync/job_messages.h"

namespace qbrk {

JobContext::JobContext(Env& env, NetPlatform net, ConnectionUi ui, JobRecord& record)
    : env_(env), record_(record), net_(net), ui_(std::move(ui)), sync_(env) {
  sync_.link = record.link;
  ui_.link = record.link;
}

JobContext::~JobContext() {
  Disconnect();
}

bool JobContext::PrepareFolders(bool repair) {
  MirrorFolderRepair ask_dialog;
  if (repair) {
    ask_dialog = [this](const std::string& vanished) {
      // Without a dialog to ask, nobody can choose another folder.
      uint32_t answer = 0;
      record_.Post(job_message::kMirrorVanished, reinterpret_cast<uintptr_t>(vanished.c_str()),
                   reinterpret_cast<intptr_t>(&answer));
      return answer == 1;
    };
  }
  std::string mirror;
  if (!ResolveMirrorFolder(env_, repair, ask_dialog, &mirror)) return false;
  if (!mirror.empty() && mirror.back() == '\\') mirror.pop_back();
  std::string table;
  if (!TableFilePath(env_, &table)) return false;
  sync_.mirror = mirror;
  sync_.table_path = table;
  return true;
}

ResultCode JobContext::Connect() {
  Disconnect();
  connection_ = std::make_unique<ServerConnection>(env_, net_, ui_);
  const ResultCode r = connection_->Open();
  sync_.session = r == result::kSuccess ? connection_->session() : nullptr;
  return r;
}

void JobContext::Disconnect() {
  sync_.session = nullptr;
  if (connection_) connection_->Close();
  connection_.reset();
}

std::string JobContext::server_root() {
  return connection_ ? connection_->root() : std::string();
}

}  // namespace qbrk
