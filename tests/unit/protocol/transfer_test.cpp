// Downloads through a temporary file and uploads whole or in ranges under a lock.
#include "protocol/transfer.h"

#include "protocol/worker_messages.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

using testing::kDate;

class DownloadTest : public testing::ProtocolTest {
 protected:
  std::string Content(const std::string& path) {
    std::string text;
    files_.ReadWholeFile(path, &text);
    return text;
  }
  // Files left in the temporary folder (the log file aside).
  size_t TempFiles() { return files_.List("C:\\TEMP").size(); }
};

TEST_F(DownloadTest, ReplacesTheLocalFileAndReportsEachBlock) {
  ServerSession& session = Session();
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\a.txt", "old"));
  ASSERT_EQ(files_.SetAttributes("C:\\m\\a.txt", file_attr::kReadOnly), 0u);
  const std::string body(10000, 'n');
  http_.Script(200, "Content-Length: 10000\r\nX-Last-Modified: " + std::string(kDate), body);
  FindData item;
  ASSERT_EQ(Download(session, "/r/sub/a.txt", "C:\\m\\a.txt", &item), 0u);
  EXPECT_EQ(Content("C:\\m\\a.txt"), body);
  EXPECT_EQ(item.name, "a.txt");
  EXPECT_EQ(item.size, 10000u);
  EXPECT_EQ(item.attributes, 128u);
  EXPECT_EQ(item.last_write_time, testing::kDateTime);
  std::vector<uintptr_t> blocks;
  for (const auto& p : link_.posted())
    if (p.message == worker_message::kProgress) blocks.push_back(p.wparam);
  EXPECT_EQ(blocks, (std::vector<uintptr_t>{4096, 4096, 1808}));
  EXPECT_EQ(TempFiles(), 0u);
}

TEST_F(DownloadTest, FailuresKeepTheOldFileAndRemoveTheTemporaryOne) {
  ServerSession& session = Session();
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\a.txt", "old"));
  // Held open by another program without delete sharing.
  std::unique_ptr<File> held;
  ASSERT_EQ(files_.OpenFile("C:\\m\\a.txt", file_access::kRead, file_share::kRead,
                            Disposition::kOpenExisting, &held),
            0u);
  http_.Script(200, "", "new");
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 94u);
  held.reset();
  EXPECT_EQ(Content("C:\\m\\a.txt"), "old");

  http_.Script(200, "", "new");  // the item needs both headers
  FindData item;
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", &item), 44u);
  http_.Script(404);
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 73u);
  ScriptedReply cut;
  cut.body = std::string(9000, 'x');
  cut.fail_at = FailStep::kRead;
  cut.error = 12030;
  cut.fail_after_bytes = 5000;
  http_.Script(cut);
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 78u);
  EXPECT_EQ(Content("C:\\m\\a.txt"), "old");
  EXPECT_EQ(TempFiles(), 0u);
  // WinINet ends a cut answer quietly: the body is short of its announced length.
  http_.Script(200, "Content-Length: 9000", std::string(5000, 'x'));
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 78u);
  EXPECT_EQ(Content("C:\\m\\a.txt"), "old");
  EXPECT_EQ(TempFiles(), 0u);

  link_.DetachAtMessage(worker_message::kProgress);
  http_.Script(200, "", std::string(9000, 'x'));
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 1u);
  EXPECT_EQ(Content("C:\\m\\a.txt"), "old");
  EXPECT_EQ(TempFiles(), 0u);
}

TEST_F(DownloadTest, LocalErrorsMapToTheirCodes) {
  ServerSession& session = Session();
  http_.Script(200, "", "data");
  files_.set_capacity(2);
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 93u);
  files_.set_capacity(UINT64_MAX);

  files_.set_fault([](MemoryFileSystem::Op op, const std::string&) {
    return op == MemoryFileSystem::Op::kMakeTempFile ? sys_error::kFilenameTooLong : 0;
  });
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 91u);
  files_.set_fault([](MemoryFileSystem::Op op, const std::string&) {
    return op == MemoryFileSystem::Op::kMakeTempFile ? sys_error::kAccessDenied : 0;
  });
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), 44u);
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\a.txt", "old"));
  for (const auto& [error, code] : std::vector<std::pair<SysError, ResultCode>>{
           {sys_error::kFileNotFound, 98}, {sys_error::kDiskFull, 93},
           {sys_error::kSharingViolation, 94}, {sys_error::kAccessDenied, 94},
           {sys_error::kFilenameTooLong, 91}, {sys_error::kInvalidParameter, 44}}) {
    files_.set_fault([error = error](MemoryFileSystem::Op op, const std::string&) {
      return op == MemoryFileSystem::Op::kRenameReplacing ? error : 0;
    });
    http_.Script(200, "", "data");
    EXPECT_EQ(Download(session, "/r/a.txt", "C:\\m\\a.txt", nullptr), code) << error;
    // Whatever went wrong, the old file is whole and nothing is left beside it.
    EXPECT_EQ(Content("C:\\m\\a.txt"), "old");
    EXPECT_EQ(files_.List("C:\\m"), std::vector<std::string>{"C:\\m\\a.txt"});
  }
  files_.set_fault(nullptr);

  http_.Script(200, "", "data");  // the local folder is missing
  EXPECT_EQ(Download(session, "/r/a.txt", "C:\\missing\\a.txt", nullptr), 91u);
  EXPECT_EQ(TempFiles(), 0u);
}

TEST_F(DownloadTest, PlacingOnlyIfAbsentNeverOverwritesAFileThatAppeared) {
  ServerSession& session = Session();
  std::string temp;
  http_.Script(200, "", "new");
  ASSERT_EQ(DownloadToTemp(session, "/r/a.txt", &temp, nullptr), 0u);
  EXPECT_EQ(Content(temp), "new");
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\a.txt", "made meanwhile"));
  bool occupied = false;
  EXPECT_EQ(InstallDownload(files_, temp, "C:\\m\\a.txt", Placement::kOnlyIfAbsent, &occupied),
            0u);
  EXPECT_TRUE(occupied);
  EXPECT_EQ(Content("C:\\m\\a.txt"), "made meanwhile");
  EXPECT_EQ(files_.List("C:\\m"), std::vector<std::string>{"C:\\m\\a.txt"});
  EXPECT_EQ(TempFiles(), 0u);

  http_.Script(200, "", "new");
  ASSERT_EQ(DownloadToTemp(session, "/r/b.txt", &temp, nullptr), 0u);
  EXPECT_EQ(InstallDownload(files_, temp, "C:\\m\\b.txt", Placement::kOnlyIfAbsent, &occupied),
            0u);
  EXPECT_FALSE(occupied);
  EXPECT_EQ(Content("C:\\m\\b.txt"), "new");
  EXPECT_EQ(TempFiles(), 0u);
}

class UploadTest : public testing::ProtocolTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\big.bin", std::string(10, 'b')));
    ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\empty.txt", ""));
  }
  bool SavedLock(std::string* path = nullptr, std::string* token = nullptr) {
    std::string p, t;
    const bool saved = settings_.ReadLockToken(&p, &t);
    if (path) *path = p;
    if (token) *token = t;
    return saved;
  }
};

TEST_F(UploadTest, RangesUseReplaceModeAndTheLockRecordLivesUntilTheUnlock) {
  ServerSession& session = Session({4, false, 0});
  http_.Script(200, "", testing::LockGranted("tok"));
  for (int i = 0; i < 3; ++i)
    http_.Script(204);
  // The record exists while the ranges go out: check it when the last one arrives.
  bool saved_during = false;
  link_.OnMessage(worker_message::kProgress, [&](uintptr_t, intptr_t) {
    std::string path, token;
    saved_during = SavedLock(&path, &token) && path == "/r/big.bin" && token == "tok";
  });
  http_.Script(204);
  ASSERT_EQ(Upload(session, "C:\\m\\big.bin", "/r/big.bin"), 0u);
  EXPECT_TRUE(saved_during);
  EXPECT_FALSE(SavedLock());
  const auto& requests = http_.requests();
  ASSERT_EQ(requests.size(), 5u);
  EXPECT_EQ(requests[1].Header("Content-Range"), "bytes 0-3/10");
  EXPECT_EQ(requests[2].Header("Content-Range"), "bytes 4-7/10");
  EXPECT_EQ(requests[3].Header("Content-Range"), "bytes 8-9/10");
  EXPECT_EQ(requests[3].body, "bb");
  const auto& calls = requests[1].header_calls;
  ASSERT_EQ(calls.size(), 7u);
  EXPECT_EQ(calls[5].text, "Content-Range: bytes 0-3/10\r\n");
  EXPECT_EQ(calls[5].mode, HeaderMode::kReplace);
  EXPECT_EQ(calls[6].text, "If: (<tok>)\r\n");
  EXPECT_EQ(calls[6].mode, HeaderMode::kAddIfNew);
  EXPECT_EQ(requests[4].method, "UNLOCK");
}

TEST_F(UploadTest, EmptyFileIsOnePutWithContentLengthZero) {
  ServerSession& session = Session({1, false, 0});
  http_.Script(201);
  ASSERT_EQ(Upload(session, "C:\\m\\empty.txt", "/r/e.txt"), 0u);
  ASSERT_EQ(http_.requests().size(), 1u);
  const auto& calls = http_.requests()[0].header_calls;
  EXPECT_EQ(calls.back().text, "Content-Length: 0");
  EXPECT_EQ(calls.back().mode, HeaderMode::kReplace);
  EXPECT_TRUE(http_.requests()[0].begun);
}

TEST_F(UploadTest, LockedByOwnLockReleasesAndStartsAgain) {
  ServerSession& session = Session();
  http_.Script(423);
  http_.Script(207, "", testing::LockAnswer("/r/big.bin", testing::kUser, "stale"));
  http_.Script(204);
  http_.Script(201);
  ASSERT_EQ(Upload(session, "C:\\m\\big.bin", "/r/big.bin"), 0u);
  ExpectGolden("put_locked_restart");
}

TEST_F(UploadTest, LockedBySomeoneElseEndsAfterBoundedRounds) {
  ServerSession& session = Session();
  for (int i = 0; i < 8; ++i) {
    http_.Script(423);
    http_.Script(207, "", testing::LockAnswer("/r/big.bin", "hanako@example.jp", "theirs"));
  }
  EXPECT_EQ(Upload(session, "C:\\m\\big.bin", "/r/big.bin"), 77u);
  EXPECT_EQ(http_.requests().size(), 16u);
  EXPECT_EQ(http_.pending_replies(), 0u);
}

TEST_F(UploadTest, FailedOrCancelledRangesStillUnlock) {
  ServerSession& session = Session({4, false, 0});
  http_.Script(200, "", testing::LockGranted("tok"));
  http_.Script(204);
  http_.ScriptFailure(FailStep::kSend, 12031);
  http_.Script(204);
  EXPECT_EQ(Upload(session, "C:\\m\\big.bin", "/r/big.bin"), 78u);
  EXPECT_EQ(http_.requests().back().method, "UNLOCK");
  EXPECT_FALSE(SavedLock());

  // The unlock fails too: the record stays for the next connection to release.
  http_.Script(200, "", testing::LockGranted("tok2"));
  http_.Script(204);
  http_.ScriptFailure(FailStep::kSend, 12031);
  http_.ScriptFailure(FailStep::kSend, 12029);
  EXPECT_EQ(Upload(session, "C:\\m\\big.bin", "/r/big.bin"), 78u);
  std::string token;
  EXPECT_TRUE(SavedLock(nullptr, &token));
  EXPECT_EQ(token, "tok2");

  link_.DetachAtMessage(worker_message::kProgress, 2);
  http_.Script(200, "", testing::LockGranted("tok3"));
  http_.Script(204);
  ScriptedReply never_ends;  // the cancelled range is never ended
  http_.Script(never_ends);
  http_.Script(204);
  EXPECT_EQ(Upload(session, "C:\\m\\big.bin", "/r/big.bin"), 1u);
  EXPECT_EQ(http_.requests().back().method, "UNLOCK");
  EXPECT_FALSE(http_.requests()[http_.requests().size() - 2].sent);
}

TEST_F(UploadTest, LocalFileProblems) {
  ServerSession& session = Session();
  EXPECT_EQ(Upload(session, "C:\\m\\missing.txt", "/r/x"), 43u);
  std::unique_ptr<File> writer;  // another program writes it but shares reading
  ASSERT_EQ(files_.OpenFile("C:\\m\\big.bin", file_access::kWrite, file_share::kRead,
                            Disposition::kOpenExisting, &writer),
            0u);
  http_.Script(201);
  EXPECT_EQ(Upload(session, "C:\\m\\big.bin", "/r/x"), 0u);
  writer.reset();
  std::unique_ptr<File> exclusive;
  ASSERT_EQ(files_.OpenFile("C:\\m\\big.bin", file_access::kRead, file_share::kNone,
                            Disposition::kOpenExisting, &exclusive),
            0u);
  EXPECT_EQ(Upload(session, "C:\\m\\big.bin", "/r/x"), 94u);
  EXPECT_EQ(http_.requests().size(), 1u);
}

}  // namespace
}  // namespace qbrk
