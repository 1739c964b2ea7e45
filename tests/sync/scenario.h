// A synchronization scenario: the mirror folder on the in-memory file system, the user's
// disk on a server side (the emulator in process, or the model of it), and the record in the
// table file. A scenario sets the three up, runs the engine with scripted answers, and ends
// by comparing the three trees with what it expects and planning again to find no work.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/memory/memory_http_transport.h"
#include "platform/memory/scripted_dialog_link.h"
#include "protocol/server_session.h"
#include "server_side.h"
#include "settings/twin_env.h"
#include "sync/choice_prompt.h"
#include "sync/sync_context.h"
#include "sync/sync_statistics.h"
#include "sync/sync_table.h"

namespace qbrk::testing {

inline constexpr char kMirror[] = "C:\\mirror";
inline constexpr char kDataFolder[] = "C:\\data";
// 2002-03-05 09:07:03 UTC, as seconds since 1970 and as a FILETIME.
inline constexpr time_t kBaseSeconds = 1015319223;
inline constexpr uint64_t kSecond = 10000000ULL;
uint64_t FileTimeOf(time_t seconds);

// Answers the choice questions from a queue; a question nobody expected is a failure.
class ScriptedPrompt final : public ChoicePrompt {
 public:
  uint32_t Ask(ChoiceQuestion question, const std::string& name) override;
  std::deque<uint32_t> answers;
  std::vector<std::pair<ChoiceQuestion, std::string>> asked;
  // Runs before each answer: the user may do something else while a question waits.
  std::function<void()> on_ask;
};

class SyncScenario : public ::testing::TestWithParam<ServerKind> {
 protected:
  SyncScenario();
  ~SyncScenario() override;

  // --- The local side (paths relative to the mirror, "/"-separated) ---
  // Writes a file whose last-write time is `time` (a FILETIME).
  void LocalFile(const std::string& path, const std::string& content,
                 uint64_t time = FileTimeOf(kBaseSeconds));
  void LocalFolder(const std::string& path);
  void LocalRemove(const std::string& path);
  std::string LocalContent(const std::string& path);
  FindData LocalFind(const std::string& path);
  std::string LocalPath(const std::string& path) const;

  // --- The server side ---
  ServerSide& server() { return *server_; }
  void ServerFile(const std::string& path, const std::string& content,
                  time_t modified = kBaseSeconds) {
    server_->PutFile(path, content, modified);
  }

  // --- Runs ---
  // A session on the server side, open and ready, as a connection leaves it.
  std::unique_ptr<ServerSession> OpenSession(DialogLink* link = nullptr);
  // A context for one run through `session`, asking `prompt_`.
  SyncContext Context(ServerSession& session);
  // A whole synchronization with a fresh session, as the synchronize job runs it.
  ResultCode Sync();
  // Plans again with a fresh session and tells whether there is work.
  bool HasWork();
  // The table file's path.
  std::string TablePath() const;

  // --- The three trees, one line per entry, sorted; folders end with "/" ---
  // "path=content" (names as stored on the local disk).
  std::string LocalTree();
  // "path=content".
  std::string ServerTreeText();
  // "path size" from the table file ("<none>" when it cannot be loaded).
  std::string RecordTree();
  // The recorded entry of a file, or an entry without a record.
  FileRecord RecordOf(const std::string& path);

  // Every local file is on the server with the same bytes, the record holds both sides'
  // times and sizes for each, and planning again finds nothing to do.
  void ExpectInStep();

  TwinEnv twin_;
  FakeClock& clock_ = twin_.clock;
  MemoryFileSystem& files_ = twin_.files;
  MemoryHttpTransport http_;
  std::unique_ptr<ServerSide> server_;
  ScriptedPrompt prompt_;
  // When set, the job has this dialog link instead of none.
  ScriptedDialogLink* link_ = nullptr;
  uint32_t upload_unit_ = 1000;
  // The folder that holds the table file.
  std::string data_folder_ = kDataFolder;
  SyncStatistics stats_;
  std::string error_name_;
  // Called before the server sees each request; the request is dropped when it returns a
  // response (an injected fault).
  std::function<std::unique_ptr<HandlerResponse>(const HandlerRequest&)> intercept_;
  std::vector<std::string> requests_;  // "METHOD path", in order
};

inline std::string ServerParamName(const ::testing::TestParamInfo<ServerKind>& param) {
  return ServerKindName(param.param);
}

// Runs a scenario fixture's cases against every server this build has.
#define QBRK_SCENARIOS_ON_EVERY_SERVER(Fixture)                                          \
  INSTANTIATE_TEST_SUITE_P(                                                              \
      Servers, Fixture, ::testing::ValuesIn(::qbrk::testing::AvailableServerKinds()),    \
      ::qbrk::testing::ServerParamName)

}  // namespace qbrk::testing
