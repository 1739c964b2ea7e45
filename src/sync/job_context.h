// The state one job run shares between its steps: the job record, the mirror folder, the
// table file, the connection and the engine's context. Making it connects nothing; its end
// closes the connection.
#pragma once

#include <memory>
#include <string>

#include "common/result_code.h"
#include "platform/env.h"
#include "protocol/server_connection.h"
#include "sync/job_record.h"
#include "sync/sync_context.h"

namespace qbrk {

class JobContext {
 public:
  JobContext(Env& env, NetPlatform net, ConnectionUi ui, JobRecord& record);
  ~JobContext();
  JobContext(const JobContext&) = delete;
  JobContext& operator=(const JobContext&) = delete;

  // Resolves the mirror folder and the table file. With `repair`, a vanished mirror folder is
  // put to the dialog (message 1084 with its path); the user may choose another one. False
  // when no mirror folder results or the data folder cannot be made.
  bool PrepareFolders(bool repair);
  // Opens the connection (sign-in and options requests go through the link): 0, 1 when the
  // user cancelled, or the failing step's code.
  ResultCode Connect();
  // Closes the connection, if one is open.
  void Disconnect();

  Env& env() { return env_; }
  JobRecord& record() { return record_; }
  SyncContext& sync() { return sync_; }
  const std::string& mirror() const { return sync_.mirror; }
  const std::string& table_path() const { return sync_.table_path; }
  // The server's disk root, once connected.
  std::string server_root();

 private:
  Env& env_;
  JobRecord& record_;
  NetPlatform net_;
  ConnectionUi ui_;
  std::unique_ptr<ServerConnection> connection_;
  SyncContext sync_;
};

}  // namespace qbrk
