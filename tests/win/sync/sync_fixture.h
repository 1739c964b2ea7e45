// Synchronization as the synchronize job runs it between connecting and ending, on the real
// file system and over WinINet against the emulator program: the mirror folder and the data
// folder (which holds the table file) lie in this test process's own temporary folder, the
// connection is the shipped ServerConnection, and questions are answered by a script. Each
// scenario ends by comparing the mirror folder, the emulator's data folder and the record
// loaded from the table file with what it expects.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "../protocol/protocol_fixture.h"
#include "platform/file_system.h"
#include "platform/win32/win32_net.h"
#include "recording_transport.h"
#include "sync/choice_prompt.h"
#include "sync/file_record.h"
#include "sync/sync_context.h"
#include "sync/sync_statistics.h"

namespace qbrk::test {

inline constexpr uint64_t kSecond = 10000000ULL;
// A FILETIME from seconds since 1970.
uint64_t FileTimeOf(int64_t unix_seconds);
// 2002-03-05 09:07:03 UTC.
inline constexpr int64_t kBaseSeconds = 1015319223;

// What FindFirstFileA reports of `path`; attributes kInvalid when nothing is there.
FindData Find(const std::string& path);

// Answers the questions in order; each answer names the question it expects.
class ScriptedPrompt final : public ChoicePrompt {
 public:
  uint32_t Ask(ChoiceQuestion question, const std::string& name) override;
  void Expect(ChoiceQuestion question, const std::string& name, uint32_t answer) {
    script.push_back({question, name, answer});
  }
  struct Step {
    ChoiceQuestion question;
    std::string name;
    uint32_t answer;
  };
  std::deque<Step> script;
};

class WineSyncScenario : public ProtocolScenario {
 protected:
  void SetUp() override;
  void TearDown() override;

  // --- Runs ---
  // A whole synchronization on a fresh connection. `on_resolved` runs once the questions are
  // answered and before execution starts: after both scans, as a person working meanwhile.
  ResultCode Sync(const std::function<void()>& on_resolved = {});
  // Plans again on a fresh connection; true when the plan holds work.
  bool HasWork();
  // Turns the error log on: every later run rotates it first, as a job does.
  void StartLog();
  // The paths of the SKIPPED lines of the last run, as logged.
  std::vector<std::string> SkippedPaths();

  // --- The mirror folder: paths relative to it, "/"-separated, in code page 932 ---
  std::string Mirror(const std::string& path = "") const;
  // Writes a file; a non-zero `time` becomes its last-write time.
  void LocalFile(const std::string& path, const std::string& content, uint64_t time = 0);
  std::string LocalContent(const std::string& path);
  // What FindFirstFileA reports; attributes kInvalid when nothing is there.
  FindData LocalFind(const std::string& path) { return Find(Mirror(path)); }
  Tree LocalTree();

  // --- The user's disk ---
  // A file put into the emulator's data folder by hand (missing folders too), as Wine
  // writes it; a non-zero `time` becomes its modification time, which the emulator serves.
  void ServerFile(const std::string& path, const std::string& content, uint64_t time = 0);
  std::string DiskPath(const std::string& path) const;
  // What FindFirstFileA reports of a file in the emulator's data folder.
  FindData DiskFind(const std::string& path);
  // A request to the account's disk with its credentials, bypassing the library: `wire_path`
  // (below the disk root) goes on the wire as it stands, so names the library would never
  // send can be put there.
  ControlReply DiskRequest(const std::string& method, const std::string& wire_path,
                           const std::string& body = "", const std::string& headers = "");
  // The disk's paths as the emulator holds them (raw bytes; folders end with "/"), read from
  // a listing of the whole disk in UTF-8, whose hrefs escape every byte that is not ASCII.
  std::set<std::string> ServerPaths();

  // --- The record ---
  std::string TablePath() const;
  // "path size" per recorded file and "path/" per folder, sorted; "<none>" when it cannot be
  // loaded.
  std::string RecordTree();
  // The recorded file, or an empty record.
  FileRecord RecordOf(const std::string& path);

  // The requests of the last run, "METHOD path" (paths as sent), in order.
  const std::vector<std::string>& requests() const { return http_.requests(); }

  std::string mirror_;       // no trailing backslash
  std::string data_folder_;  // no trailing backslash
  ScriptedPrompt prompt_;
  SyncStatistics stats_;
  std::string error_name_;

 private:
  ResultCode OpenRecorded();
  // Deletes everything on the account's disk.
  void ClearDisk();
  // Runs `step` with the context of a job's worker on a fresh connection; false when the
  // connection did not open.
  bool OnFreshConnection(const std::function<void(SyncContext&)>& step);

  RecordingTransport http_{Win32HttpTransport()};
  bool logging_ = false;
};

// `raw` with every byte outside [A-Za-z0-9._~/-] escaped as %XX: how a hostile server name
// is put on the emulator's disk (which decodes every escape into the name's bytes).
std::string PercentEscaped(const std::string& raw);

}  // namespace qbrk::test
