// Every operation over WinINet against the emulator, each scenario ending with the disk.
#include <numeric>

#include "platform/win32/win32_env.h"
#include "protocol/file_ops.h"
#include "protocol/http_date.h"
#include "protocol/listing.h"
#include "protocol/locks.h"
#include "protocol/publishing.h"
#include "protocol/transfer.h"
#include "protocol/worker_messages.h"
#include "protocol_fixture.h"
#include "settings/settings.h"

namespace qbrk::test {
namespace {

using WinInetOperationsTest = ProtocolScenario;

std::string At(const std::string& rest) {
  return std::string(kRoot) + rest;
}

// The byte counts of the progress messages, in order.
std::vector<uintptr_t> Progress(const ScriptedDialogLink& link) {
  std::vector<uintptr_t> blocks;
  for (const auto& posted : link.posted())
    if (posted.message == worker_message::kProgress) blocks.push_back(posted.wparam);
  return blocks;
}

TEST_F(WinInetOperationsTest, FilesAndFoldersWithJapaneseNames) {
  ASSERT_EQ(Open(), 0u);
  const std::string japanese = "日本語の資料.txt";  // Shift_JIS bytes at run time
  const std::string content = Pattern(10000);
  WriteLocal("a.txt", content);
  ASSERT_EQ(MakeFolder(session(), At("docs/")), 0u);
  ASSERT_EQ(Upload(session(), LocalPath("a.txt"), At("docs/a.txt")), 0u);
  ASSERT_EQ(Upload(session(), LocalPath("a.txt"), At("docs/" + japanese)), 0u);
  ASSERT_EQ(MakeFolder(session(), At("docs/sub/")), 0u);

  const Listing* listing = nullptr;
  ASSERT_EQ(ListFolder(session(), At("docs/"), &listing), 0u);
  ASSERT_NE(listing, nullptr);
  std::map<std::string, std::pair<uint32_t, uint64_t>> members;
  for (const FindData& item : *listing)
    members[item.name] = {item.attributes, item.size};
  EXPECT_EQ(members, (std::map<std::string, std::pair<uint32_t, uint64_t>>{
                         {"a.txt", {128, 10000}}, {japanese, {128, 10000}}, {"sub", {16, 0}}}));

  // Times: set, then read back by the status query and the listing of a new session.
  uint64_t time = 0;
  ASSERT_TRUE(ParseHttpDate("Sun, 06 Nov 1994 08:49:37 GMT", &time));
  ASSERT_EQ(SetLastModified(session(), time, At("docs/" + japanese)), 0u);
  FindData item;
  ASSERT_EQ(FileStatus(session(), At("docs/" + japanese), &item), 0u);
  EXPECT_EQ(item.name, japanese);
  EXPECT_EQ(item.last_write_time, time);
  EXPECT_EQ(item.size, 10000u);
  uint64_t size = 0;
  EXPECT_EQ(QuerySize(session(), At("docs/a.txt"), &size), 0u);
  EXPECT_EQ(size, 10000u);
  EXPECT_EQ(FileStatus(session(), At("docs/none.txt"), &item), 73u);

  // A download arrives whole, with a progress message per 4096-byte block.
  FindData downloaded;
  ASSERT_EQ(Download(session(), At("docs/" + japanese), LocalPath("back.txt"), &downloaded), 0u);
  EXPECT_EQ(ReadLocal("back.txt"), content);
  EXPECT_EQ(downloaded.last_write_time, time);
  const std::vector<uintptr_t> blocks = Progress(link_);
  // Two uploads of 10000 bytes, then the download.
  ASSERT_EQ(blocks.size(), 9u);
  EXPECT_EQ(std::vector<uintptr_t>(blocks.end() - 3, blocks.end()),
            (std::vector<uintptr_t>{4096, 4096, 1808}));

  ASSERT_EQ(DeleteResource(session(), At("docs/a.txt")), 0u);
  EXPECT_EQ(DeleteResource(session(), At("docs/a.txt")), 73u);
  Tree tree = DiskTree();
  // Wine cannot decode the emulator's Shift_JIS names (raw bytes on a UTF-8 system) and shows
  // them with '?': such a name is only counted here; the download proved its content.
  EXPECT_EQ(std::erase_if(
                tree, [](const auto& entry) { return entry.first.find('?') != std::string::npos; }),
            1u);
  EXPECT_EQ(tree, (Tree{{"docs/", ""}, {"docs/sub/", ""}}));

  ASSERT_EQ(EmptyFolder(session(), At("docs/")), 0u);
  ExpectDisk({{"docs/", ""}});
}

TEST_F(WinInetOperationsTest, UploadJustOverTheUnitGoesInTwoRangesUnderALock) {
  ASSERT_EQ(Open(), 0u);
  ASSERT_EQ(connection_->upload_unit(), 524288u);
  const std::string content = Pattern(524289);
  WriteLocal("big.bin", content);
  ASSERT_EQ(Upload(session(), LocalPath("big.bin"), At("big.bin")), 0u);
  const std::vector<uintptr_t> blocks = Progress(link_);
  EXPECT_EQ(std::accumulate(blocks.begin(), blocks.end(), uintptr_t{0}), 524289u);
  EXPECT_EQ(blocks.back(), 1u);  // the second range is the last byte
  std::string path, token;
  EXPECT_FALSE(Settings(Win32Env().registry).ReadLockToken(&path, &token)) << path;
  EXPECT_EQ(Control("GET", "locks").body, "");
  // An empty file goes whole too.
  WriteLocal("empty.bin", "");
  ASSERT_EQ(Upload(session(), LocalPath("empty.bin"), At("empty.bin")), 0u);
  ExpectDisk({{"big.bin", content}, {"empty.bin", ""}});
}

TEST_F(WinInetOperationsTest, InterruptedRangedUploadLeavesItsLockToTheNextConnection) {
  ASSERT_EQ(Open(), 0u);
  WriteLocal("old.bin", "old content");
  ASSERT_EQ(Upload(session(), LocalPath("old.bin"), At("big.bin")), 0u);

  // The upload breaks off and its final unlock fails: as if the program had died.
  WriteLocal("big.bin", Pattern(600000));
  AddFault("PUT " + At("big.bin") + " cut-request=20000 times=1");
  AddFault("UNLOCK " + At("big.bin") + " status=503 times=1");
  const ResultCode cut = Upload(session(), LocalPath("big.bin"), At("big.bin"));
  EXPECT_TRUE(cut == 43 || cut == 51) << cut;
  std::string saved_path, saved_token;
  ASSERT_TRUE(Settings(Win32Env().registry).ReadLockToken(&saved_path, &saved_token));
  EXPECT_EQ(saved_path, At("big.bin"));
  EXPECT_NE(Control("GET", "locks").body.find(saved_token), std::string::npos);
  ExpectDisk({{"big.bin", "old content"}});

  // The next connection finds its own lock and releases it.
  ASSERT_EQ(Open(), 0u);
  EXPECT_FALSE(Settings(Win32Env().registry).ReadLockToken(&saved_path, &saved_token));
  EXPECT_EQ(Control("GET", "locks").body, "");
  ExpectDisk({{"big.bin", "old content"}});
}

TEST_F(WinInetOperationsTest, LocksOwnAndSomeoneElses) {
  ASSERT_EQ(Open(), 0u);
  std::string token;
  ASSERT_EQ(Lock(session(), At("mine.txt"), &token), 0u);
  ActiveLock lock;
  ASSERT_EQ(DiscoverLock(session(), At("mine.txt"), &lock), 0u);
  EXPECT_EQ(lock.owner, kUser);
  EXPECT_EQ(lock.token, token);
  EXPECT_EQ(Unlock(session(), At("mine.txt"), token), 0u);
  EXPECT_EQ(Unlock(session(), At("mine.txt"), token), 0u);  // 412: already gone

  // A lock of this user left behind is released when a request meets it.
  ASSERT_EQ(Lock(session(), At("left.txt"), &token), 0u);
  WriteLocal("left.txt", "text");
  EXPECT_EQ(Upload(session(), LocalPath("left.txt"), At("left.txt")), 0u);

  ASSERT_EQ(Control("POST", "locks", At("held.txt")).status, 200u);
  EXPECT_EQ(Lock(session(), At("held.txt"), &token), 77u);
  EXPECT_EQ(Upload(session(), LocalPath("left.txt"), At("held.txt")), 77u);
  ASSERT_EQ(DiscoverLock(session(), At("held.txt"), &lock), 0u);
  EXPECT_EQ(lock.owner, "someone-else@example.jp");
  ExpectDisk({{"left.txt", "text"}});
}

TEST_F(WinInetOperationsTest, QuotaFiguresAndAFullDisk) {
  ASSERT_EQ(Control("POST", "settings", "quota=taro@example.jp 6000000000").status, 200u);
  ASSERT_EQ(Open(), 0u);
  WriteLocal("small.bin", Pattern(1000));
  ASSERT_EQ(Upload(session(), LocalPath("small.bin"), At("small.bin")), 0u);
  QuotaFigures figures;
  ASSERT_EQ(connection_->QueryQuota(&figures), 0u);
  EXPECT_EQ(figures.quota, 6000000000);  // above 4 GB, carried whole
  EXPECT_EQ(figures.used, 1000);
  EXPECT_EQ(figures.free, 6000000000 - 1000);

  ASSERT_EQ(Control("POST", "settings", "quota=taro@example.jp 5000").status, 200u);
  WriteLocal("large.bin", Pattern(8000));
  EXPECT_EQ(Upload(session(), LocalPath("large.bin"), At("large.bin")), 71u);
  ExpectDisk({{"small.bin", Pattern(1000)}});
}

TEST_F(WinInetOperationsTest, EveryPublishingCommand) {
  ASSERT_EQ(Open(), 0u);
  ASSERT_EQ(MakeFolder(session(), At("pub/")), 0u);
  bool published = true;
  ASSERT_EQ(QueryPublished(session(), At("pub/"), &published), 0u);
  EXPECT_FALSE(published);
  ASSERT_EQ(Publish(session(), At("pub/")), 0u);
  ASSERT_EQ(QueryPublished(session(), At("pub/"), &published), 0u);
  EXPECT_TRUE(published);
  uint64_t since = 0;
  ASSERT_EQ(QueryPublishedSince(session(), At("pub/"), &since), 0u);
  EXPECT_GT(since, 0u);
  std::string address;
  ASSERT_EQ(QueryPublicAddress(session(), At("pub/"), &address), 0u);
  const std::string base = "http://127.0.0.1:" + std::to_string(port_) + "/pub/";
  EXPECT_EQ(address.rfind(base, 0), 0u) << address;

  const DisplaySetting custom{DisplayMode::kCustom, "山田太郎"};
  ASSERT_EQ(SetDisplaySetting(session(), kRoot, custom), 0u);
  DisplaySetting read;
  ASSERT_EQ(QueryDisplaySetting(session(), kRoot, &read), 0u);
  EXPECT_EQ(read.mode, DisplayMode::kCustom);
  EXPECT_EQ(read.name, custom.name);
  ASSERT_EQ(SetDisplaySetting(session(), kRoot, DisplaySetting{}), 0u);
  ASSERT_EQ(QueryDisplaySetting(session(), kRoot, &read), 0u);
  EXPECT_EQ(read.mode, DisplayMode::kMail);

  ASSERT_EQ(Unpublish(session(), At("pub/")), 0u);
  ASSERT_EQ(QueryPublished(session(), At("pub/"), &published), 0u);
  EXPECT_FALSE(published);
  // Refusals come back as statuses: nothing published (409), no such folder (404).
  EXPECT_EQ(QueryPublishedSince(session(), At("pub/"), &since), 73u);
  EXPECT_EQ(Publish(session(), At("none/")), 73u);
  ExpectDisk({{"pub/", ""}});
}

}  // namespace
}  // namespace qbrk::test
