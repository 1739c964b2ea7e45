// Planning on trees built by hand: what each half marks, how merging settles contradictions,
// how answers and inherited deletions are counted, and what counts as pending work.
#include <gtest/gtest.h>

#include "platform/memory/scripted_dialog_link.h"
#include "settings/twin_env.h"
#include "sync/choice_prompt.h"
#include "sync/marks.h"
#include "sync/planning.h"

namespace qbrk {
namespace {

FileEntry* File(FolderNode* folder, const std::string& name, uint64_t size = 1,
                uint64_t local = 10, uint64_t server = 20, uint32_t marks = 0) {
  FileRecord record = FileRecord::WithName(name);
  record.set_size(size);
  record.set_local_time(local);
  record.set_server_time(server);
  FileEntry* entry = folder->AddFile(new FileEntry(std::move(record)));
  entry->marks = marks;
  return entry;
}

FolderNode* Folder(FolderNode* parent, const std::string& name, uint32_t marks = 0) {
  FolderNode* folder = parent->AddFolder(new FolderNode(name));
  folder->marks = marks;
  return folder;
}

class FixedPrompt final : public ChoicePrompt {
 public:
  explicit FixedPrompt(uint32_t reply) : reply_(reply) {}
  uint32_t Ask(ChoiceQuestion question, const std::string& name) override {
    asked.push_back(std::to_string(static_cast<uint32_t>(question)) + " " + name);
    return reply_;
  }
  std::vector<std::string> asked;

 private:
  uint32_t reply_;
};

class PlanningTest : public ::testing::Test {
 protected:
  testing::TwinEnv twin_;
  SyncTable local_{twin_.env}, server_{twin_.env}, recorded_{twin_.env}, plan_{twin_.env};
};

TEST_F(PlanningTest, TheLocalHalfMarksChangesNewFoldersAndDeletionsWithWhatItSaw) {
  FolderNode* record = recorded_.EnsureRoot();
  File(record, "same", 1, 10);
  File(record, "touched", 1, 10);
  File(record, "gone", 5, 10);
  Folder(Folder(record, "old"), "deep");
  FolderNode* local = local_.EnsureRoot();
  File(local, "same", 1, 10);
  File(local, "touched", 1, 11);
  File(local, "new", 3, 30);
  Folder(local, "fresh");  // empty, new: kept with 64
  ASSERT_EQ(PlanLocalSide(&local_, &recorded_, &plan_), 0u);
  FolderNode* plan = plan_.root();
  EXPECT_EQ(plan->FindFile("same"), nullptr);
  EXPECT_EQ(plan->FindFile("touched")->marks, MARK_UPLOAD);
  EXPECT_EQ(plan->FindFile("new")->marks, MARK_UPLOAD);
  EXPECT_EQ(plan->FindFile("gone")->marks, MARK_DELETED_LOCALLY);
  EXPECT_EQ(plan->FindFolder("fresh")->marks, MARK_CREATE_SERVER);
  EXPECT_EQ(plan->FindFolder("old")->marks, MARK_DELETED_LOCALLY);
  EXPECT_EQ(plan->FindFolder("old")->FindFolder("deep")->marks, MARK_DELETED_LOCALLY);
  // What the scan saw: the changed file as it is, the deleted one as nothing.
  const LocalSight* touched = plan_.sight(plan->FindFile("touched")->sight);
  ASSERT_NE(touched, nullptr);
  EXPECT_TRUE(touched->present);
  EXPECT_EQ(touched->last_write_time, 11u);
  EXPECT_FALSE(plan_.sight(plan->FindFile("gone")->sight)->present);
  EXPECT_EQ(HasPendingWork(&plan_), 1);
  EXPECT_EQ(PlanLocalSide(nullptr, &recorded_, &plan_), 500u);
}

TEST_F(PlanningTest, TheServerHalfKeepsTheLocalSightOfUnchangedFiles) {
  FolderNode* record = recorded_.EnsureRoot();
  File(record, "a", 7, 10, 20);
  FolderNode* server = server_.EnsureRoot();
  File(server, "a", 8, 0, 21);
  File(server, "b", 2, 0, 22);
  ASSERT_EQ(PlanServerSide(&server_, &recorded_, &plan_), 0u);
  const LocalSight* a = plan_.sight(plan_.root()->FindFile("a")->sight);
  ASSERT_NE(a, nullptr);
  EXPECT_TRUE(a->present);  // unchanged locally: the record tells what the disk holds
  EXPECT_EQ(a->last_write_time, 10u);
  EXPECT_EQ(a->size, 7u);
  EXPECT_FALSE(plan_.sight(plan_.root()->FindFile("b")->sight)->present);
}

TEST_F(PlanningTest, MergingLetsChangesWinAndBringsFoldersBack) {
  FolderNode* plan = plan_.EnsureRoot();
  File(plan, "down", 1, 0, 0, MARK_DOWNLOAD | MARK_DELETED_LOCALLY);
  File(plan, "up", 1, 0, 0, MARK_UPLOAD | MARK_DELETED_ON_SERVER);
  File(plan, "both", 1, 0, 0, kMarkConflict | kMarkGoneBoth);
  File(plan, "gone", 1, 0, 0, kMarkGoneBoth);
  FolderNode* deleted_locally = Folder(plan, "dl", MARK_DELETED_LOCALLY);
  File(deleted_locally, "changed", 1, 0, 0, MARK_DOWNLOAD | MARK_DELETED_LOCALLY);
  FolderNode* deleted_on_server = Folder(plan, "ds", MARK_DELETED_ON_SERVER | MARK_SEEN);
  Folder(deleted_on_server, "new-empty", MARK_CREATE_SERVER);
  FolderNode* untouched = Folder(plan, "quiet", MARK_DELETED_ON_SERVER);
  File(untouched, "f", 1, 0, 0, MARK_DELETED_ON_SERVER);
  ASSERT_EQ(MergeMarks(&plan_), 0u);
  EXPECT_EQ(plan->FindFile("down")->marks, MARK_DOWNLOAD);
  EXPECT_EQ(plan->FindFile("up")->marks, MARK_UPLOAD);
  EXPECT_EQ(plan->FindFile("both")->marks, MARK_UPLOAD);
  EXPECT_EQ(plan->FindFile("gone")->marks, kMarkGoneBoth);
  EXPECT_EQ(deleted_locally->marks, MARK_CREATE_LOCAL);
  EXPECT_EQ(deleted_on_server->marks, MARK_CREATE_SERVER);
  EXPECT_EQ(untouched->marks, MARK_DELETED_ON_SERVER);
  SyncTable empty(twin_.env);
  EXPECT_EQ(MergeMarks(&empty), 3u);
}

TEST_F(PlanningTest, ResolutionCountsInheritsAndIgnoresStrayAnswers) {
  FolderNode* plan = plan_.EnsureRoot();
  FolderNode* gone = Folder(plan, "gone", MARK_DELETED_LOCALLY);
  File(gone, "x", 4, 0, 0, MARK_DELETED_LOCALLY);
  File(Folder(gone, "sub", MARK_DELETED_LOCALLY), "y", 6, 0, 0, MARK_DOWNLOAD);
  File(plan, "up", 10, 0, 0, MARK_UPLOAD);
  File(plan, "down", 20, 0, 0, MARK_DOWNLOAD);
  File(plan, "conflict", 1, 0, 0, kMarkConflict);
  SyncContext context(twin_.env);
  FixedPrompt deletes(answer::kDeleteOnServer);
  context.prompt = &deletes;
  SyncStatistics stats;
  stats.uploads = 99;  // zeroed first
  // The conflict gets a deleted-locally answer, which is no answer to it: left as it was.
  ASSERT_EQ(ResolveChoices(&context, &plan_, &stats), 0u);
  EXPECT_EQ(deletes.asked, (std::vector<std::string>{"1086 gone", "1088 conflict"}));
  EXPECT_EQ(stats.serverFolderDeletes, 2u);  // "gone" and, inherited, "sub"
  EXPECT_EQ(stats.serverFileDeletes, 2u);    // everything below, whatever its marks
  EXPECT_EQ(stats.uploads, 1u);
  EXPECT_EQ(stats.uploadBytes, 10u);
  EXPECT_EQ(stats.downloads, 1u);
  EXPECT_EQ(stats.downloadBytes, 20u);
  EXPECT_EQ(plan->FindFile("conflict")->marks, kMarkConflict);
  EXPECT_EQ(gone->FindFolder("sub")->FindFile("y")->marks, MARK_DELETED_LOCALLY);

  // Through an attached dialog the name and the answer word travel; a detached one stops.
  ScriptedDialogLink link;
  std::string asked;
  link.OnMessage(1086, [&](uintptr_t name, intptr_t reply) {
    asked = reinterpret_cast<const char*>(name);
    *reinterpret_cast<uint32_t*>(reply) = answer::kDeleteOnServer;
  });
  link.OnMessage(1088, [](uintptr_t, intptr_t reply) {
    *reinterpret_cast<uint32_t*>(reply) = answer::kDownloadAll;
  });
  context.link = &link;
  context.prompt = nullptr;
  ASSERT_EQ(ResolveChoices(&context, &plan_, &stats), 0u);
  EXPECT_EQ(asked, "gone");
  EXPECT_EQ(plan->FindFile("conflict")->marks, MARK_DOWNLOAD);
  EXPECT_EQ(stats.downloadAllConflicts, 1u);
  File(plan, "conflict2", 1, 0, 0, kMarkConflict);
  link.Detach();
  EXPECT_EQ(ResolveChoices(&context, &plan_, &stats), 1u);
  EXPECT_EQ(ResolveChoices(nullptr, &plan_, &stats), 500u);
}

TEST_F(PlanningTest, PendingWorkIsAnyActionableMark) {
  struct Case {
    uint32_t file_marks, folder_marks;
    int pending;
  };
  const Case cases[] = {
      {0, MARK_SEEN, 0},  {MARK_SEEN, 0, 0},       {kMarkGoneBoth, 0, 0},
      {MARK_UPLOAD, 0, 1}, {MARK_DOWNLOAD, 0, 1}, {kMarkConflict, 0, 1},
      {MARK_DELETED_LOCALLY, 0, 1}, {MARK_DELETED_ON_SERVER, 0, 1},
      {0, MARK_CREATE_LOCAL | MARK_SEEN, 1}, {0, MARK_DELETED_LOCALLY, 1},
      {0, MARK_CREATE_LOCAL | MARK_CREATE_SERVER, 0},  // new on both sides
      {MARK_DONE, 0, 0},
  };
  for (const Case& c : cases) {
    FolderNode root;
    FolderNode* folder = Folder(&root, "f", c.folder_marks);
    File(folder, "x", 1, 0, 0, c.file_marks);
    EXPECT_EQ(HasPendingWork(&root), c.pending) << c.file_marks << " " << c.folder_marks;
  }
}

}  // namespace
}  // namespace qbrk
