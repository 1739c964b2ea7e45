// The synchronize job as its dialog sees it: the messages of a run that completes, of each
// failure and of a cancel at each stage; the record saved as far as the run got; a plan
// handed over by the sync list; the mirror folder that vanished.
#include "job_harness.h"
#include "platform/running_jobs.h"
#include "protocol/sign_in_record.h"
#include "protocol/worker_messages.h"
#include "settings/settings.h"
#include "sync/job_messages.h"
#include "sync/planning.h"
#include "sync/sync_job.h"
#include "sync/sync_run.h"

namespace qbrk::testing {
namespace {

using Sequence = std::vector<uint32_t>;
// Phases 0, 1, 2 of 1083, then the statistics and the start of execution.
const Sequence kUpToExecution = {1083, 1083, 1083, 1077, 1075};

std::unique_ptr<HandlerResponse> Status(uint32_t status, std::string body = "") {
  auto response = std::make_unique<HandlerResponse>();
  response->status = status;
  response->body = std::move(body);
  return response;
}

Sequence With(Sequence head, std::initializer_list<uint32_t> tail) {
  head.insert(head.end(), tail);
  return head;
}

class SyncJobTest : public JobScenario {};

TEST_P(SyncJobTest, ACompletedRunTellsEachStepAndRecordsBothSides) {
  LocalFile("a.txt", "local");
  ServerFile("docs/b.txt", "server");
  int32_t running_during_run = -1;
  dialog_.OnMessage(job_message::kExecutionBegins,
                    [&](uintptr_t, intptr_t) { running_during_run = RunningJobCount(); });
  const int32_t running_before = RunningJobCount();
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_EQ(Messages(), With(kUpToExecution, {1076}));
  EXPECT_EQ(WParamOf(1083, 0), 0);
  EXPECT_EQ(WParamOf(1083, 1), 1);
  EXPECT_EQ(WParamOf(1083, 2), 2);
  EXPECT_EQ(WParamOf(1077), reinterpret_cast<intptr_t>(&stats_));
  EXPECT_EQ(stats_.uploads, 1u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_GT(dialog_.count(worker_message::kProgress), 0u);
  EXPECT_EQ(running_during_run, running_before + 1);
  EXPECT_EQ(RunningJobCount(), running_before);
  EXPECT_TRUE(reported_.empty());
  ExpectInStep();
}

TEST_P(SyncJobTest, GarbageForAListingEndsWithItsCodeAndLeavesTheRecord) {
  LocalFile("a.txt", "v1");
  ASSERT_EQ(RunJob(), 0u);
  const std::string record_before = RecordTree();
  LocalFile("a.txt", "v2", FileTimeOf(kBaseSeconds + 60));
  const std::string bodies[] = {"<<<not xml", "", std::string(5000, '\xff'),
                                "<?xml version=\"1.0\"?><D:multistatus xmlns:D=\"DAV:\">"};
  for (const std::string& body : bodies) {
    dialog_ = ScriptedDialogLink();
    intercept_ = [&](const HandlerRequest& request) {
      return request.method == "PROPFIND" ? Status(207, body) : nullptr;
    };
    const ResultCode code = RunJob();
    EXPECT_NE(code, 0u) << body;
    EXPECT_NE(code, 1u) << body;
    EXPECT_EQ(Messages(), (Sequence{1083, 1083, 1083, 1078})) << body;
    EXPECT_EQ(WParamOf(1078), static_cast<intptr_t>(code));
    EXPECT_EQ(RecordTree(), record_before);
    EXPECT_EQ(LocalContent("a.txt"), "v2");
  }
  intercept_ = nullptr;
  ASSERT_EQ(RunJob(), 0u);
  ExpectInStep();
}

TEST_P(SyncJobTest, AServerThatStopsAnsweringMidRunKeepsWhatWasDone) {
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) LocalFile(name, name);
  int puts = 0;
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    if (request.method != "PUT" || ++puts < 2) return nullptr;
    auto cut = Status(0);
    cut->connection_cut = true;
    return cut;
  };
  const ResultCode code = RunJob();
  EXPECT_NE(code, 0u);
  EXPECT_NE(code, 1u);
  EXPECT_EQ(Messages(), With(kUpToExecution, {1078}));
  EXPECT_EQ(WParamOf(1078), static_cast<intptr_t>(code));
  EXPECT_EQ(shown_error_name_, "b.txt");
  EXPECT_EQ(RecordTree(), "a.txt 5\n");
  intercept_ = nullptr;
  dialog_ = ScriptedDialogLink();
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_EQ(stats_.uploads, 2u);  // the next run plans only what remained
  ExpectInStep();
}

TEST_P(SyncJobTest, AFailedUploadMidRunLeavesTheCompletedEntriesRecorded) {
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) LocalFile(name, name);
  int puts = 0;
  intercept_ = [&](const HandlerRequest& request) {
    return request.method == "PUT" && ++puts == 2 ? Status(507) : nullptr;
  };
  EXPECT_EQ(RunJob(), 71u);
  EXPECT_EQ(Messages(), With(kUpToExecution, {1078}));
  EXPECT_EQ(WParamOf(1078), 71);
  EXPECT_EQ(shown_error_name_, "b.txt");
  EXPECT_EQ(RecordTree(), "a.txt 5\n");
}

TEST_P(SyncJobTest, RefusedCredentialsAskForASignInAndEndWhenItIsDeclined) {
  LocalFile("a.txt", "a");
  Settings(twin_.registry, clock_)
      .WriteCredentials(CredentialKind::kService, kAccount, "wrong", true);
  std::vector<std::string> offered;
  dialog_.OnMessage(worker_message::kSignIn, [&](uintptr_t w, intptr_t) {
    offered.push_back(reinterpret_cast<SignInRecord*>(w)->password);
  });  // the user closes the sign-in dialog
  EXPECT_EQ(RunJob(), 1u);
  EXPECT_EQ(reported_, (std::vector<ResultCode>{75}));
  EXPECT_EQ(offered, (std::vector<std::string>{"wrong"}));
  EXPECT_EQ(Messages(), (Sequence{1083, 1083, 1090, 1078}));
  EXPECT_EQ(WParamOf(1078), 1);  // shows nothing
  EXPECT_EQ(RecordTree(), "<none>");
  EXPECT_EQ(ServerTreeText(), "");
}

TEST_P(SyncJobTest, ASignInThatIsAcceptedLetsTheRunGoOn) {
  LocalFile("a.txt", "a");
  Settings(twin_.registry, clock_)
      .WriteCredentials(CredentialKind::kService, kAccount, "wrong", true);
  dialog_.OnMessage(worker_message::kSignIn, [&](uintptr_t w, intptr_t l) {
    reinterpret_cast<SignInRecord*>(w)->password = kPassword;
    *reinterpret_cast<uint32_t*>(l) = kAnswerOk;
  });
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_EQ(Messages(), (Sequence{1083, 1083, 1090, 1083, 1083, 1083, 1077, 1075, 1076}));
  ExpectInStep();
}

TEST_P(SyncJobTest, UnreadableStoredCredentialsAskForTheOptions) {
  twin_.registry.Put(RegistryRoot::kCurrentUser, kSettingsKey, "Info", reg_type::kBinary, {1, 2});
  EXPECT_EQ(RunJob(), 1u);  // the options dialog was closed
  EXPECT_EQ(Messages(), (Sequence{1085, 1078}));
  EXPECT_EQ(http_.requests().size(), 0u);
}

TEST_P(SyncJobTest, AnUnreadableTableFileAsksInsteadOfDeleting) {
  LocalFile("same.txt", "local");
  ServerFile("same.txt", "server");
  ServerFile("only-server.txt", "s");
  WriteTable(std::string(300, '\x07'));
  prompt_.answers = {answer::kUpload};
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_EQ(prompt_.asked.size(), 1u);
  EXPECT_EQ(Messages(), With({1083, 1083, 1083, 1088}, {1077, 1075, 1076}));
  EXPECT_EQ(LocalContent("only-server.txt"), "s");
  EXPECT_EQ(LocalContent("same.txt"), "local");
  ExpectInStep();
}

TEST_P(SyncJobTest, AVanishedMirrorFolderEndsQuietlyAfterTheDialogWasTold) {
  LocalFile("a.txt", "a");
  Settings(twin_.registry, clock_).WriteMirror("C:\\gone");
  EXPECT_EQ(RunJob(), 1u);
  EXPECT_EQ(Messages(), (Sequence{1084}));
  EXPECT_TRUE(http_.requests().empty());
  EXPECT_EQ(RecordTree(), "<none>");
}

TEST_P(SyncJobTest, AMirrorFolderChosenAnewAtTheVanishedPromptIsSynchronized) {
  LocalFile("a.txt", "a");
  Settings(twin_.registry, clock_).WriteMirror("C:\\gone");
  std::string told;
  dialog_.OnMessage(job_message::kMirrorVanished, [&](uintptr_t w, intptr_t l) {
    told = reinterpret_cast<const char*>(w);
    Settings(twin_.registry, clock_).WriteMirror(kMirror);  // the dialog let the user choose
    *reinterpret_cast<uint32_t*>(l) = 1;
  });
  ASSERT_EQ(RunJob(), 0u);
  EXPECT_EQ(told, "C:\\gone");
  EXPECT_EQ(Messages(), With({1084}, {1083, 1083, 1083, 1077, 1075, 1076}));
  ExpectInStep();
}

TEST_P(SyncJobTest, AHandedOverPlanIsExecutedWithoutScanningAgain) {
  LocalFile("a.txt", "a");
  ServerFile("b.txt", "b");
  auto record = std::make_unique<JobRecord>();
  record->recorded = std::make_unique<SyncTable>(twin_.env);
  record->plan = std::make_unique<SyncTable>(twin_.env);
  {
    std::unique_ptr<ServerSession> session = OpenSession();
    SyncContext context = Context(*session);
    context.link = nullptr;
    ASSERT_EQ(BuildPlan(context, record->recorded.get(), record->plan.get()), 0u);
    record->recorded->set_connection(nullptr);
    session->CloseSession();
  }
  // What changes after the list was made is not part of the plan.
  LocalFile("later.txt", "later");
  int listings = 0;
  intercept_ = [&](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    for (const auto& [name, value] : request.headers)
      if (request.method == "PROPFIND" && name == "Depth" && value == "1") ++listings;
    return nullptr;
  };
  ASSERT_EQ(RunJob(std::move(record)), 0u);
  EXPECT_EQ(listings, 0);
  EXPECT_EQ(Messages(), With(kUpToExecution, {1076}));
  EXPECT_EQ(stats_.uploads, 1u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_EQ(ServerTreeText(), "a.txt=a\nb.txt=b\n");
  EXPECT_EQ(RecordTree(), "a.txt 1\nb.txt 1\n");
  dialog_ = ScriptedDialogLink();
  ASSERT_EQ(RunJob(), 0u);  // the next run lists again and finds the file that came later
  EXPECT_GT(listings, 0);
  ExpectInStep();
}

// Where a cancel lands, and what the record holds afterwards.
struct CancelCase {
  const char* stage;
  std::function<void(ScriptedDialogLink&)> arrange;
  bool record_written;
};

TEST_P(SyncJobTest, ACancelAtAnyStageEndsWithoutAMessage) {
  const CancelCase cases[] = {
      {"connecting", [](ScriptedDialogLink& d) { d.DetachAtMessage(1083, 1); }, false},
      {"authenticating", [](ScriptedDialogLink& d) { d.DetachAtMessage(1083, 2); }, false},
      {"scanning", [](ScriptedDialogLink& d) { d.DetachAtMessage(1083, 3); }, false},
      {"asking", [](ScriptedDialogLink& d) { d.DetachAtMessage(1088); }, false},
      {"statistics", [](ScriptedDialogLink& d) { d.DetachAtMessage(1077); }, true},
      {"transferring", [](ScriptedDialogLink& d) { d.DetachAtMessage(1079, 2); }, true},
  };
  for (const CancelCase& c : cases) {
    SCOPED_TRACE(c.stage);
    RemoveTable();
    LocalFile("conflict.txt", "mine");
    ServerFile("conflict.txt", "theirs");
    LocalFile("big.txt", std::string(3000, 'b'));
    dialog_ = ScriptedDialogLink();
    for (ChoiceQuestion q : {ChoiceQuestion::kConflict}) {
      dialog_.OnMessage(static_cast<uint32_t>(q), [](uintptr_t, intptr_t l) {
        *reinterpret_cast<uint32_t*>(l) = answer::kUpload;
      });
    }
    c.arrange(dialog_);
    EXPECT_EQ(RunJob(), 1u);
    EXPECT_EQ(dialog_.count(1076) + dialog_.count(1078), 0u);
    EXPECT_EQ(RecordTree() != "<none>", c.record_written) << RecordTree();
  }
  // While listing: the cancel is noticed between folders.
  ServerFile("d1/x.txt", "x");
  ServerFile("d2/y.txt", "y");
  RemoveTable();
  dialog_ = ScriptedDialogLink();
  dialog_.OnMessage(1083, [&](uintptr_t w, intptr_t) {
    if (w == 2) dialog_.DetachAfterPolls(3);
  });
  EXPECT_EQ(RunJob(), 1u);
  EXPECT_EQ(Messages(), (Sequence{1083, 1083, 1083}));
  EXPECT_EQ(RecordTree(), "<none>");
}

TEST_P(SyncJobTest, AnAnswerOfCancelEndsTheRunWithTheRecordSaved) {
  LocalFile("conflict.txt", "mine");
  ServerFile("conflict.txt", "theirs");
  prompt_.answers = {answer::kCancel};
  EXPECT_EQ(RunJob(), 1u);
  EXPECT_EQ(Messages(), With({1083, 1083, 1083, 1088}, {1078}));
  EXPECT_EQ(WParamOf(1078), 1);
  EXPECT_EQ(RecordTree(), "");
  EXPECT_EQ(LocalContent("conflict.txt"), "mine");
}

QBRK_SCENARIOS_ON_EVERY_SERVER(SyncJobTest);

}  // namespace
}  // namespace qbrk::testing
