// How changes on each side since the last synchronization are decided: one-sided changes,
// deletions, conflicts and the questions they raise, folders deleted or new on one or both
// sides, and the answers that apply to every later entry.
#include "scenario.h"
#include "sync/marks.h"
#include "sync/planning.h"
#include "sync/sync_run.h"

namespace qbrk::testing {
namespace {

using Q = ChoiceQuestion;

class PlanningScenarioTest : public SyncScenario {
 protected:
  // A synchronized start: these files on both sides, recorded.
  void Start(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) LocalFile(path, "v1 " + path);
    ASSERT_EQ(Sync(), 0u);
    ASSERT_FALSE(HasWork());
  }
  // A server change one hour later than the start.
  void ServerEdit(const std::string& path, const std::string& content) {
    ServerFile(path, content, kBaseSeconds + 3600);
  }
  void LocalEdit(const std::string& path, const std::string& content) {
    LocalFile(path, content, FileTimeOf(kBaseSeconds + 7200));
  }
};

// A plan in list order, one line per entry: path, marks and what the local scan saw.
void DescribePlan(const SyncTable& table, const FolderNode& folder, const std::string& prefix,
                  std::string* out) {
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c)) {
    *out += prefix + c->name() + "/ " + std::to_string(c->marks) + "\n";
    DescribePlan(table, *c, prefix + c->name() + "/", out);
  }
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f)) {
    *out += prefix + std::string(f->name()) + " " + std::to_string(f->marks);
    if (const LocalSight* sight = table.sight(f->sight))
      *out += " saw " + std::to_string(sight->present) + " " +
              std::to_string(sight->last_write_time) + " " + std::to_string(sight->size);
    *out += "\n";
  }
}

size_t CountFiles(const FolderNode& folder) {
  size_t count = folder.file_count();
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c))
    count += CountFiles(*c);
  return count;
}

TEST_P(PlanningScenarioTest, PlanningWhileScanningMakesTheWholeTreesPlan) {
  Start({"a.txt", "b.txt", "c.txt", "top/t1", "top/t2", "top/mid/m1", "top/mid/m2",
         "top/mid/deep/d1", "top/mid/deep/d2", "quiet/q1", "quiet/sub/q2", "gone-here/g1",
         "gone-there/g2", "swap", "twice/w1"});
  // Changes at every depth, on each side and on both.
  LocalEdit("a.txt", "local a");
  ServerEdit("b.txt", "server b");
  LocalEdit("c.txt", "local c");
  ServerEdit("c.txt", "server c");
  LocalEdit("top/mid/deep/d1", "local d1");
  ServerEdit("top/mid/m2", "server m2");
  LocalFile("top/mid/deep/new-here", "n");
  ServerFile("top/new-there", "n");
  // Deletions below folders that otherwise hold nothing to do, so that their plan folders
  // come from the deletions alone, after those made for changes.
  LocalRemove("quiet/sub/q2");
  server().Remove("top/t2");
  LocalRemove("gone-here");
  server().Remove("gone-there");
  // New folders, empty and full, and a file replaced by a folder.
  LocalFolder("new-empty");
  LocalFile("new-full/x/y", "y");
  server().MakeFolder("server-empty");
  LocalRemove("swap");
  LocalFile("swap/inside", "folder now");
  LocalRemove("twice");
  ServerEdit("twice/w1", "kept on the server");
  // A name no local file can carry, and one the record never saw.
  ServerFile("con.txt", "left out");

  std::unique_ptr<ServerSession> session = OpenSession();
  SyncContext context = Context(*session);
  SyncTable streamed_record(twin_.env), streamed(twin_.env);
  ASSERT_EQ(BuildPlan(context, &streamed_record, &streamed), 0u);

  SyncTable local(twin_.env), server(twin_.env, session.get());
  SyncTable recorded(twin_.env), whole(twin_.env);
  ASSERT_EQ(local.ScanLocalFolder(kMirror, ""), 0u);
  ASSERT_EQ(server.ScanServerFolder("", ""), 0u);
  ASSERT_EQ(recorded.LoadTableFile(TablePath()), 1u);
  ASSERT_EQ(PlanLocalSide(&local, &recorded, &whole), 0u);
  recorded.ReplaceRoot(nullptr);
  ASSERT_EQ(recorded.LoadTableFile(TablePath()), 1u);
  ASSERT_EQ(PlanServerSide(&server, &recorded, &whole), 0u);
  ASSERT_EQ(MergeMarks(&whole), 0u);
  ASSERT_EQ(LeaveOutTypeClashes(&whole, session->disk_root()), 0u);
  session->CloseSession();

  std::string expected, got;
  DescribePlan(whole, *whole.root(), "", &expected);
  DescribePlan(streamed, *streamed.root(), "", &got);
  EXPECT_EQ(got, expected);
  // Folders planned for deletions alone come after those planned for changes, files deleted
  // after files changed; the name no local file can carry is left out.
  EXPECT_EQ(expected,
      "new-empty/ 64\n"
      "new-full/ 64\n"
      "new-full/x/ 64\n"
      "new-full/x/y 2 saw 1 126597928230000000 1\n"
      "swap/ 64\n"
      "swap/inside 2 saw 1 126597928230000000 10\n"
      "top/ 1\n"
      "top/mid/ 1\n"
      "top/mid/deep/ 1\n"
      "top/mid/deep/d1 2 saw 1 126598000230000000 8\n"
      "top/mid/deep/new-here 2 saw 1 126597928230000000 1\n"
      "top/mid/m2 4 saw 1 126597928230000000 13\n"
      "top/new-there 4 saw 0 0 0\n"
      "top/t2 8 saw 1 126597928230000000 9\n"
      "gone-here/ 17\n"
      "gone-here/g1 16 saw 0 0 0\n"
      "quiet/ 1\n"
      "quiet/sub/ 1\n"
      "quiet/sub/q2 16 saw 0 0 0\n"
      "twice/ 32\n"
      "twice/w1 4 saw 0 0 0\n"
      "server-empty/ 32\n"
      "gone-there/ 8\n"
      "gone-there/g2 8 saw 1 126597928230000000 16\n"
      "a.txt 2 saw 1 126598000230000000 7\n"
      "c.txt 6 saw 1 126598000230000000 7\n"
      "swap 16 saw 0 0 0\n"
      "b.txt 4 saw 1 126597928230000000 8\n");

  // The streamed scans keep folders only; a scan on its own keeps every file.
  SyncTable scanned(twin_.env), record_again(twin_.env), plan_again(twin_.env);
  ASSERT_EQ(record_again.LoadTableFile(TablePath()), 1u);
  ASSERT_EQ(ScanAndPlanLocalSide(&scanned, kMirror, &record_again, &plan_again), 0u);
  EXPECT_EQ(CountFiles(*scanned.root()), 0u);
  EXPECT_NE(scanned.root()->FindFolder("top")->FindFolder("mid"), nullptr);
  EXPECT_GT(CountFiles(*local.root()), 10u);
}

TEST_P(PlanningScenarioTest, APlanCutShortIsNeverKept) {
  Start({"a.txt", "sub/b.txt"});
  LocalEdit("a.txt", "local a");
  intercept_ = [](const HandlerRequest& request) -> std::unique_ptr<HandlerResponse> {
    if (request.method != "PROPFIND" || request.path.find("sub") == std::string::npos)
      return nullptr;
    auto response = std::make_unique<HandlerResponse>();
    response->status = 500;
    return response;
  };
  std::unique_ptr<ServerSession> session = OpenSession();
  SyncContext context = Context(*session);
  SyncTable recorded(twin_.env), plan(twin_.env);
  EXPECT_NE(BuildPlan(context, &recorded, &plan), 0u);
  // The local half was planned before the listing failed; none of it may be handed on.
  EXPECT_EQ(plan.root(), nullptr);
  session->CloseSession();
}

TEST_P(PlanningScenarioTest, OneSidedChangesTravelWithoutQuestions) {
  Start({"a.txt", "b.txt", "c.txt", "d.txt"});
  LocalEdit("a.txt", "local edit");
  ServerEdit("b.txt", "server edit");
  LocalRemove("c.txt");  // changed on the server and deleted locally: downloaded again
  ServerEdit("c.txt", "server keeps c");
  LocalEdit("d.txt", "local keeps d");  // changed locally and deleted on the server: uploaded
  server().Remove("d.txt");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_TRUE(prompt_.asked.empty());
  EXPECT_EQ(stats_.uploads, 2u);
  EXPECT_EQ(stats_.downloads, 2u);
  EXPECT_EQ(ServerTreeText(),
            "a.txt=local edit\nb.txt=server edit\nc.txt=server keeps c\nd.txt=local keeps d\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, ConflictsAskUntilTheAnswerIsForAll) {
  Start({"1.txt", "2.txt", "3.txt", "4.txt"});
  for (const char* name : {"1.txt", "2.txt", "3.txt", "4.txt"}) {
    LocalEdit(name, std::string("local ") + name);
    ServerEdit(name, std::string("server ") + name);
  }
  prompt_.answers = {answer::kUpload, answer::kDownloadAll};
  ASSERT_EQ(Sync(), 0u);
  ASSERT_EQ(prompt_.asked.size(), 2u);
  EXPECT_EQ(prompt_.asked[0], std::make_pair(Q::kConflict, std::string("1.txt")));
  EXPECT_EQ(prompt_.asked[1], std::make_pair(Q::kConflict, std::string("2.txt")));
  EXPECT_EQ(stats_.downloadAllConflicts, 1u);
  EXPECT_EQ(ServerTreeText(),
            "1.txt=local 1.txt\n2.txt=server 2.txt\n3.txt=server 3.txt\n4.txt=server 4.txt\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, OneSidedDeletionsAskAndAnswersForAllStick) {
  Start({"l1.txt", "l2.txt", "l3.txt", "s1.txt", "s2.txt"});
  LocalRemove("l1.txt");
  LocalRemove("l2.txt");
  LocalRemove("l3.txt");
  server().Remove("s1.txt");
  server().Remove("s2.txt");
  // Deleted locally: download l1 again, delete the others; deleted on the server: upload all.
  prompt_.answers = {answer::kDownloadAgain, answer::kDeleteOnServerAll, answer::kUploadAgainAll};
  ASSERT_EQ(Sync(), 0u);
  ASSERT_EQ(prompt_.asked.size(), 3u);
  EXPECT_EQ(prompt_.asked[0].first, Q::kDeletedLocally);
  EXPECT_EQ(prompt_.asked[2].first, Q::kDeletedOnServer);
  EXPECT_EQ(stats_.serverFileDeletes, 2u);
  EXPECT_EQ(stats_.uploads, 2u);
  EXPECT_EQ(stats_.downloads, 1u);
  EXPECT_EQ(ServerTreeText(), "l1.txt=v1 l1.txt\ns1.txt=v1 s1.txt\ns2.txt=v1 s2.txt\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, DeletedOnBothSidesOnlyLeavesTheRecord) {
  Start({"gone.txt", "kept.txt"});
  LocalRemove("gone.txt");
  server().Remove("gone.txt");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_TRUE(prompt_.asked.empty());
  EXPECT_EQ(stats_.serverFileDeletes + stats_.localFileDeletes, 0u);
  EXPECT_EQ(RecordTree(), "kept.txt 11\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, AFolderDeletedLocallyAsksOnceAndDeletesOnce) {
  Start({"docs/a.txt", "docs/sub/b.txt", "other.txt"});
  LocalRemove("docs");
  prompt_.answers = {answer::kDeleteOnServer};
  ASSERT_EQ(Sync(), 0u);
  ASSERT_EQ(prompt_.asked.size(), 1u);
  EXPECT_EQ(prompt_.asked[0], std::make_pair(Q::kDeletedLocally, std::string("docs")));
  EXPECT_EQ(stats_.serverFolderDeletes, 2u);
  EXPECT_EQ(stats_.serverFileDeletes, 2u);
  // One DELETE for the folder; what was in it only leaves the record.
  int deletes = 0;
  for (const std::string& request : requests_) deletes += request.rfind("DELETE", 0) == 0;
  EXPECT_EQ(deletes, 1);
  EXPECT_EQ(ServerTreeText(), "other.txt=v1 other.txt\n");
  EXPECT_EQ(RecordTree(), "other.txt 12\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, AFolderDeletedLocallyComesBackForAFileChangedOnTheServer) {
  Start({"docs/a.txt", "docs/b.txt"});
  LocalRemove("docs");
  ServerEdit("docs/a.txt", "changed there");
  prompt_.answers = {answer::kDownloadAgain};  // b.txt: unchanged, deleted locally
  ASSERT_EQ(Sync(), 0u);
  ASSERT_EQ(prompt_.asked.size(), 1u);
  EXPECT_EQ(prompt_.asked[0], std::make_pair(Q::kDeletedLocally, std::string("b.txt")));
  EXPECT_EQ(stats_.localFolderCreates, 1u);
  EXPECT_EQ(LocalContent("docs/a.txt"), "changed there");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, AFolderDeletedOnTheServerGoesLocallyWithItsContent) {
  Start({"docs/a.txt", "docs/deep/b.txt"});
  LocalFile("docs/.dot", "never synchronized");  // a dot-name goes with its folder
  server().Remove("docs");
  prompt_.answers = {answer::kDeleteLocally};
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(prompt_.asked.size(), 1u);
  EXPECT_EQ(stats_.localFolderDeletes, 2u);
  EXPECT_EQ(stats_.localFileDeletes, 2u);
  EXPECT_EQ(LocalTree(), "");
  EXPECT_EQ(RecordTree(), "");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, FoldersNewOnBothSidesAreNeitherCreatedNorDeleted) {
  LocalFile("both/l.txt", "l");
  ServerFile("both/s.txt", "s");
  LocalFolder("empty-both");
  server().MakeFolder("empty-both");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(stats_.localFolderCreates + stats_.serverFolderCreates, 0u);
  EXPECT_EQ(ServerTreeText(), "both/\nboth/l.txt=l\nboth/s.txt=s\nempty-both/\n");
  EXPECT_EQ(RecordTree(), "both/\nboth/l.txt 1\nboth/s.txt 1\nempty-both/\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, ANewEmptyFolderBringsBackItsParentDeletedOnTheServer) {
  Start({"docs/a.txt"});
  server().Remove("docs");
  LocalFolder("docs/new-empty");
  // The folder is created again on the server; its unchanged file is still asked about.
  prompt_.answers = {answer::kUploadAgain};
  ASSERT_EQ(Sync(), 0u);
  ASSERT_EQ(prompt_.asked.size(), 1u);
  EXPECT_EQ(prompt_.asked[0], std::make_pair(Q::kDeletedOnServer, std::string("a.txt")));
  EXPECT_EQ(ServerTreeText(), "docs/\ndocs/a.txt=v1 docs/a.txt\ndocs/new-empty/\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, AFileReplacedByAFolderReplacesItOnTheOtherSide) {
  Start({"a", "b/in.txt"});
  LocalRemove("a");
  LocalFile("a/inside.txt", "a folder now");
  server().Remove("b");
  ServerFile("b", "a file now", kBaseSeconds + 3600);
  ASSERT_EQ(Sync(), 0u);
  EXPECT_TRUE(prompt_.asked.empty());
  EXPECT_EQ(ServerTreeText(), "a/\na/inside.txt=a folder now\nb=a file now\n");
  ExpectInStep();
}

TEST_P(PlanningScenarioTest, AFileAndAFolderOfOneNameNewOnEachSideStayApart) {
  LocalFile("x/local.txt", "local");
  ServerFile("x", "server file");
  ASSERT_EQ(Sync(), 0u);
  EXPECT_TRUE(prompt_.asked.empty());
  EXPECT_EQ(LocalTree(), "x/\nx/local.txt=local\n");
  EXPECT_EQ(ServerTreeText(), "x=server file\n");
  EXPECT_FALSE(HasWork());
}

TEST_P(PlanningScenarioTest, CancellingAQuestionEndsTheRunWithNothingDone) {
  Start({"a.txt", "b.txt"});
  LocalEdit("a.txt", "local");
  ServerEdit("a.txt", "server");
  LocalEdit("b.txt", "plain upload");
  const std::string before = RecordTree();
  prompt_.answers = {answer::kCancel};
  EXPECT_EQ(Sync(), 1u);
  EXPECT_EQ(ServerTreeText(), "a.txt=server\nb.txt=v1 b.txt\n");
  EXPECT_EQ(RecordTree(), before);
}

TEST_P(PlanningScenarioTest, QuestionsGoToTheJobsDialogWhenOneIsAttached) {
  Start({"a.txt"});
  LocalRemove("a.txt");
  ScriptedDialogLink link;
  std::string asked;
  link.OnMessage(1086, [&](uintptr_t name, intptr_t reply) {
    asked = reinterpret_cast<const char*>(name);
    *reinterpret_cast<uint32_t*>(reply) = answer::kDeleteOnServer;
  });
  link_ = &link;
  ASSERT_EQ(Sync(), 0u);
  EXPECT_EQ(asked, "a.txt");
  EXPECT_TRUE(prompt_.asked.empty());
  EXPECT_EQ(ServerTreeText(), "");
  // A dialog that has gone asks nobody and stops the job.
  LocalFile("b.txt", "b");
  ASSERT_EQ(Sync(), 0u);
  LocalRemove("b.txt");
  link.Detach();
  EXPECT_EQ(Sync(), 1u);
  EXPECT_TRUE(prompt_.asked.empty());
  link_ = nullptr;
}

QBRK_SCENARIOS_ON_EVERY_SERVER(PlanningScenarioTest);

}  // namespace
}  // namespace qbrk::testing
