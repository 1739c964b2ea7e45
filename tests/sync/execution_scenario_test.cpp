// Carrying out a plan: failures stop the run with the work before them recorded, a cancel
// between files, folders in the way, edits the user makes while the run works, checkpoints
// of the record and a run abandoned in the middle.
#include "protocol/worker_messages.h"
#include "scenario.h"
#include "sync/execution.h"
#include "sync/planning.h"
#include "sync/sync_run.h"

namespace qbrk::testing {
namespace {

// Thrown from the server's side to abandon a run where it stands, as a killed process would.
struct Crash {};

std::unique_ptr<HandlerResponse> Status(uint32_t status) {
  auto response = std::make_unique<HandlerResponse>();
  response->status = status;
  return response;
}

bool IsPut(const HandlerRequest& request) { return request.method == "PUT"; }

class ExecutionScenarioTest : public SyncScenario {
 protected:
  void Start(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) LocalFile(path, "v1");
    ASSERT_EQ(Sync(), 0u);
  }
};

TEST_P(ExecutionScenarioTest, AFailedUploadKeepsWhatWasDoneBeforeIt) {
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) LocalFile(name, name);
  int puts = 0;
  intercept_ = [&](const HandlerRequest& request) {
    return IsPut(request) && ++puts == 2 ? Status(507) : nullptr;
  };
  EXPECT_EQ(Sync(), 71u);
  EXPECT_EQ(error_name_, "b.txt");
  EXPECT_EQ(ServerTreeText(), "a.txt=a.txt\n");
  EXPECT_EQ(RecordTree(), "a.txt 5\n");
  intercept_ = nullptr;
  requests_.clear();
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.uploads, 2u);  // only what remained
  ExpectInStep();
}

TEST_P(ExecutionScenarioTest, StatusesAndBrokenConnectionsEndTheRunWithTheirCodes) {
  const std::pair<uint32_t, ResultCode> cases[] = {{404, 73}, {409, 73}, {503, 80}, {507, 71}};
  for (const auto& [status, code] : cases) {
    LocalFile("f.txt", "x" + std::to_string(status));
    intercept_ = [status = status](const HandlerRequest& request) {
      return IsPut(request) ? Status(status) : nullptr;
    };
    EXPECT_EQ(Sync(), code) << status;
  }
  // The server takes the PUT, then the connection drops before the answer (WinINet then
  // reports no status at all): the record must not claim the file.
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    if (request.method != "PUT") return nullptr;
    auto response = std::make_unique<HandlerResponse>(server().Handle(request));
    response->status = 0;
    response->connection_cut = true;
    return response;
  };
  EXPECT_EQ(Sync(), 43u);
  EXPECT_EQ(RecordTree(), "");
  intercept_ = nullptr;
  // Both sides now hold a file the record does not know: the user decides.
  prompt_.answers = {answer::kUpload};
  ASSERT_EQ(Sync(), 0u);
  ExpectInStep();
}

TEST_P(ExecutionScenarioTest, ACancelBetweenTwoFilesKeepsTheFirst) {
  LocalFile("a.txt", "a");
  LocalFile("b.txt", "b");
  ScriptedDialogLink link;
  int puts = 0;
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    if (IsPut(request) && ++puts == 1) link.Detach();  // the user cancels during the first
    return nullptr;
  };
  link_ = &link;
  EXPECT_EQ(Sync(), 1u);
  link_ = nullptr;
  EXPECT_EQ(ServerTreeText(), "a.txt=a\n");
  EXPECT_EQ(RecordTree(), "a.txt 1\n");
}

TEST_P(ExecutionScenarioTest, AFileInTheWayOfAFolderGives99WithTheFoldersName) {
  ServerFile("docs/a.txt", "a");
  ASSERT_EQ(Sync(), 0u);
  ServerFile("new/b.txt", "b");
  // The file appears after the local scan, while the server is listed.
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    if (request.method == "PROPFIND" && request.path == std::string(kDiskRoot) + "new/")
      LocalFile("new", "in the way");
    return nullptr;
  };
  EXPECT_EQ(Sync(), 99u);
  EXPECT_EQ(error_name_, "new");
  EXPECT_EQ(LocalContent("new"), "in the way");
}

TEST_P(ExecutionScenarioTest, LocalFailuresHaveTheirCodesAndNames) {
  using Op = MemoryFileSystem::Op;
  struct Case {
    const char* what;
    Op op;
    SysError error;
    ResultCode code;
    const char* name;
  };
  const Case cases[] = {
      {"a deleted file in use", Op::kRemoveFile, sys_error::kSharingViolation, 94, "f.txt"},
      {"a deleted file refused", Op::kRemoveFile, sys_error::kInvalidParameter, 22, "f.txt"},
      {"a folder that will not go", Op::kRemoveDirectory, sys_error::kAccessDenied, 21, ""},
      {"a folder path too long", Op::kMakeDirectory, sys_error::kFilenameTooLong, 91, "new"},
      {"a folder not made", Op::kMakeDirectory, sys_error::kAccessDenied, 23, "new"},
  };
  for (const Case& c : cases) {
    LocalRemove("old");
    server().Remove("old");
    server().Remove("new");
    ASSERT_EQ(Sync(), 0u) << c.what;
    LocalFile("old/f.txt", "f");
    ASSERT_EQ(Sync(), 0u) << c.what;
    server().Remove("old");    // to be removed locally: the file, then the folder
    server().MakeFolder("new");  // to be made locally
    prompt_.answers = {answer::kDeleteLocally};
    files_.set_fault([&](Op op, const std::string& path) -> SysError {
      return op == c.op && path.find(kMirror) == 0 ? c.error : 0;
    });
    EXPECT_EQ(Sync(), c.code) << c.what;
    EXPECT_EQ(error_name_, c.name) << c.what;
    files_.set_fault(nullptr);
    prompt_.answers.clear();
    prompt_.asked.clear();
  }
}

TEST_P(ExecutionScenarioTest, AFailedTimeStampIsReadBackFromTheServer) {
  LocalFile("a.txt", "a", FileTimeOf(kBaseSeconds) + 3);
  intercept_ = [&](const HandlerRequest& request) {
    return request.method == "PROPPATCH" ? Status(503) : nullptr;
  };
  ASSERT_EQ(Sync(), 0u);
  const FileRecord record = RecordOf("a.txt");
  ASSERT_TRUE(record);
  // The server kept the time of the PUT; the record says what the server says.
  EXPECT_EQ(record.server_time(), FileTimeOf(server().Tree()["a.txt"].modified));
  intercept_ = [&](const HandlerRequest& request) {
    return request.method == "PROPPATCH" || request.method == "HEAD" ? Status(503) : nullptr;
  };
  LocalFile("a.txt", "b", FileTimeOf(kBaseSeconds) + 7);
  EXPECT_EQ(Sync(), 80u);
  EXPECT_EQ(error_name_, "a.txt");
  EXPECT_EQ(RecordOf("a.txt").local_time(), FileTimeOf(kBaseSeconds) + 3);
}

TEST_P(ExecutionScenarioTest, ASecondWalkOverAnExecutedPlanDoesNothing) {
  LocalFile("a.txt", "a");
  ServerFile("b.txt", "b");
  std::unique_ptr<ServerSession> session = OpenSession();
  SyncContext context = Context(*session);
  SyncTable recorded(twin_.env);
  SyncTable plan(twin_.env);
  ASSERT_EQ(BuildPlan(context, &recorded, &plan), 0u);
  ASSERT_EQ(ResolveChoices(&context, &plan, &stats_), 0u);
  ASSERT_EQ(ExecuteResolvedPlan(context, &recorded, &plan), 0u);
  const size_t sent = requests_.size();
  ASSERT_EQ(ExecuteResolvedPlan(context, &recorded, &plan), 0u);
  EXPECT_EQ(requests_.size(), sent);
  session->CloseSession();
}

TEST_P(ExecutionScenarioTest, ADownloadNeverReplacesAFileEditedDuringTheRun) {
  Start({"a.txt", "b.txt"});
  ServerFile("a.txt", "server edit", kBaseSeconds + 3600);
  ServerFile("c.txt", "new on the server", kBaseSeconds + 3600);
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    // While the first body travels, the user saves a.txt and creates c.txt.
    if (request.method == "GET" && request.path.find("a.txt") != std::string::npos) {
      LocalFile("a.txt", "user edit", FileTimeOf(kBaseSeconds + 7200));
      LocalFile("c.txt", "user's own c", FileTimeOf(kBaseSeconds + 7200));
    }
    return nullptr;
  };
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(LocalContent("a.txt"), "user edit");
  EXPECT_EQ(LocalContent("c.txt"), "user's own c");
  EXPECT_EQ(RecordTree(), "a.txt 2\nb.txt 2\n");  // a.txt as it was; c.txt not claimed
  intercept_ = nullptr;
  // The next run sees both sides changed and asks.
  prompt_.answers = {answer::kUpload, answer::kDownload};
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(prompt_.asked.size(), 2u);
  EXPECT_EQ(ServerTreeText(), "a.txt=user edit\nb.txt=v1\nc.txt=new on the server\n");
  ExpectInStep();
}

TEST_P(ExecutionScenarioTest, ALocalDeletionSparesWhatChangedOrAppearedAfterTheScan) {
  Start({"keep.txt", "docs/a.txt", "docs/b.txt"});
  server().Remove("keep.txt");
  server().Remove("docs");
  // The user edits keep.txt and adds a file to docs while the question waits.
  prompt_.on_ask = [&] {
    if (LocalContent("keep.txt") == "edited") return;
    LocalFile("keep.txt", "edited", FileTimeOf(kBaseSeconds + 60));
    LocalFile("docs/late.txt", "late");
  };
  prompt_.answers = {answer::kDeleteLocallyAll};
  ASSERT_EQ(Sync(), 0u);
  prompt_.on_ask = nullptr;
  EXPECT_EQ(LocalTree(), "docs/\ndocs/late.txt=late\nkeep.txt=edited\n");
  // docs/a.txt and b.txt went; the folder stays, recorded, for what is in it now.
  EXPECT_EQ(RecordTree(), "docs/\nkeep.txt 2\n");
  // The next run uploads the edit and the new file into a folder made again.
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(ServerTreeText(), "docs/\ndocs/late.txt=late\nkeep.txt=edited\n");
  ExpectInStep();
}

TEST_P(ExecutionScenarioTest, AnUploadRecordsWhatItSentNotWhatTheFileBecame) {
  LocalFile("a.txt", "first");
  // Another program holds the file open for writing, so the upload shares it and the user
  // saves again while it is sent.
  std::unique_ptr<File> writer;
  ASSERT_EQ(files_.OpenFile(LocalPath("a.txt"), file_access::kWrite,
                            file_share::kRead | file_share::kWrite, Disposition::kOpenExisting,
                            &writer),
            0u);
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    if (IsPut(request) && writer) {
      clock_.SetNow(FileTimeOf(kBaseSeconds + 99));
      writer->Seek(0, SeekOrigin::kEnd, nullptr);
      writer->Write(" and more", 9);
      writer.reset();
    }
    return nullptr;
  };
  ASSERT_EQ(Sync(), 0u);
  const FileRecord record = RecordOf("a.txt");
  ASSERT_TRUE(record);
  EXPECT_EQ(record.size(), 5u);
  EXPECT_EQ(record.local_time(), FileTimeOf(kBaseSeconds));
  intercept_ = nullptr;
  EXPECT_TRUE(HasWork());  // the edit is uploaded by the next run
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(ServerTreeText(), "a.txt=first and more\n");
  ExpectInStep();
}

TEST_P(ExecutionScenarioTest, CheckpointsKeepWhatAnAbandonedRunCompleted) {
  for (int i = 0; i < 8; ++i) LocalFile("f" + std::to_string(i) + ".txt", "content");
  int puts = 0;
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    clock_.Advance(4000);  // every request takes four seconds
    if (IsPut(request) && ++puts == 7) throw Crash{};
    return nullptr;
  };
  EXPECT_THROW(Sync(), Crash);
  // Six uploads done; checkpoints every ten seconds kept at least the first four.
  const std::string record = RecordTree();
  EXPECT_NE(record, "<none>");
  EXPECT_NE(record.find("f0.txt 7\nf1.txt 7\nf2.txt 7\nf3.txt 7\n"), std::string::npos) << record;
  EXPECT_EQ(record.find("f6.txt"), std::string::npos) << record;
  EXPECT_EQ(files_.List(kDataFolder), std::vector<std::string>{TablePath()});
  // The next run finishes; files the checkpoint missed are on both sides: asked, not lost.
  intercept_ = nullptr;
  prompt_.answers = {answer::kUploadAll};
  ASSERT_EQ(Sync(), 0u);
  ExpectInStep();
  prompt_.answers.clear();
}

TEST_P(ExecutionScenarioTest, AnUnreadableRecordMakesEverythingNewAndLosesNothing) {
  Start({"a.txt", "b.txt"});
  ASSERT_EQ(files_.SetAttributes(TablePath(), 0), 0u);
  ASSERT_TRUE(files_.WriteWholeFile(TablePath(), "not a table"));
  LocalFile("a.txt", "local edit", FileTimeOf(kBaseSeconds + 60));
  prompt_.answers = {answer::kUploadAll};
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(prompt_.asked.size(), 1u);
  EXPECT_EQ(ServerTreeText(), "a.txt=local edit\nb.txt=v1\n");
  ExpectInStep();
}

QBRK_SCENARIOS_ON_EVERY_SERVER(ExecutionScenarioTest);

}  // namespace
}  // namespace qbrk::testing
