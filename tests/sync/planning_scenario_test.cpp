// How changes on each side since the last synchronization are decided: one-sided changes,
// deletions, conflicts and the questions they raise, folders deleted or new on one or both
// sides, and the answers that apply to every later entry.
#include "scenario.h"
#include "sync/marks.h"

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
