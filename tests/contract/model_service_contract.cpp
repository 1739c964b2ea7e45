// The model of the service against the emulator: the same protocol operations through
// ServerSession, with the same expectations, on both. A model that answers differently from
// the emulator where our client can tell fails here.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "contract_param.h"
#include "diag/error_log.h"
#include "model_harness.h"
#include "platform/memory/memory_http_transport.h"
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/locks.h"
#include "protocol/quota.h"
#include "protocol/transfer.h"
#include "settings/settings.h"
#include "tests/unit/settings/twin_env.h"

namespace qbrk::model {

// Trees print as paths with their kind, size and time.
void PrintTo(const TreeEntry& entry, std::ostream* out) {
  *out << (entry.folder ? "folder" : "file " + std::to_string(entry.bytes.size()) + " bytes")
       << " @" << entry.time;
}

}  // namespace qbrk::model

namespace qbrk::testing {
namespace {

constexpr uint64_t kT1 = 126256467060000000ULL;  // 2001-02-03 04:05:06 UTC
constexpr uint64_t kT2 = 129311790100000000ULL;  // 2010-10-10 10:10:10 UTC
// In an expected tree: the time of the request that made the change.
constexpr uint64_t kNow = ~0ULL;
constexpr uint32_t kFile = file_attr::kNormal;
constexpr uint32_t kFolder = file_attr::kDirectory;

model::TreeEntry File(std::string bytes, uint64_t time) {
  return {false, std::move(bytes), time};
}
model::TreeEntry Folder(uint64_t time) {
  return {true, {}, time};
}

std::string Pattern(size_t size, int seed) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<char>((i * 31 + static_cast<size_t>(seed) * 7) % 251);
  return bytes;
}

struct Item {
  std::string name;
  uint32_t attributes;
  uint64_t size;
  uint64_t time;
  bool operator==(const Item&) const = default;
  friend void PrintTo(const Item& item, std::ostream* out) {
    *out << item.name << " attr " << item.attributes << " size " << item.size << " @" << item.time;
  }
};

class ModelContract : public ::testing::TestWithParam<Implementation<ServiceUnderTest>> {
 protected:
  void SetUp() override {
    SetLoggingLevel(0);
    service_ = GetParam().make();
    if (const std::string why = service_->missing(); !why.empty()) GTEST_SKIP() << why;
    http_.set_handler([this](const HandlerRequest& request) { return service_->Handle(request); });
  }

  void TearDown() override {
    sessions_.clear();
    EXPECT_EQ(http_.misuses(), 0u);
    EXPECT_EQ(http_.open_requests(), 0u);
  }

  ServerSession& Session(uint32_t upload_unit = 0, const char* password = kModelPassword) {
    SessionOptions options;
    options.upload_unit = upload_unit;
    auto session = std::make_unique<ServerSession>(twin_.env, http_, nullptr, options);
    EXPECT_EQ(session->OpenSession("127.0.0.1", 8080, kModelUser, password), 0u);
    session->set_own_owner(kModelUser);
    session->set_disk_root(kModelRoot);
    sessions_.push_back(std::move(session));
    return *sessions_.back();
  }

  static std::string Server(const std::string& rel) { return kModelRoot + rel; }

  // A local file with these bytes, for an upload.
  std::string Local(const std::string& bytes) {
    const std::string path = "C:\\up\\" + std::to_string(++local_files_);
    EXPECT_TRUE(twin_.files.WriteWholeFile(path, bytes));
    return path;
  }

  ResultCode Upload(const std::string& bytes, const std::string& rel, uint32_t unit = 0) {
    return qbrk::Upload(Session(unit), Local(bytes), Server(rel));
  }

  std::vector<Item> List(const std::string& folder, ResultCode expected = 0) {
    const Listing* listing = nullptr;
    EXPECT_EQ(ListFolder(Session(), Server(folder), &listing), expected) << folder;
    std::vector<Item> items;
    if (listing != nullptr) {
      for (const FindData& f : *listing)
        items.push_back({f.name, f.attributes, f.size, f.last_write_time});
    }
    return items;
  }

  // The disk equals `expected`; times given as kNow must be the service's now.
  void ExpectTree(const model::Tree& expected) {
    model::Tree actual = service_->Tree();
    for (auto& [path, entry] : actual) {
      const auto wanted = expected.find(path);
      if (wanted == expected.end() || wanted->second.time != kNow) continue;
      EXPECT_TRUE(service_->IsNow(entry.time)) << path << " @" << entry.time;
      entry.time = kNow;
    }
    EXPECT_EQ(actual, expected);
  }

  ActiveLock Discover(const std::string& rel, ResultCode expected = 0) {
    ActiveLock lock;
    EXPECT_EQ(DiscoverLock(Session(), Server(rel), &lock), expected) << rel;
    return lock;
  }

  TwinEnv twin_;
  Settings settings_{twin_.registry};
  MemoryHttpTransport http_;
  std::unique_ptr<ServiceUnderTest> service_;
  std::vector<std::unique_ptr<ServerSession>> sessions_;
  int local_files_ = 0;
};

TEST_P(ModelContract, ListsFoldersAndFilesWithShiftJisNames) {
  service_->MakeFolder("表計算", kT1);
  service_->PutFile("表計算/ソ十.txt", "soju", kT2);
  service_->MakeFolder("能", kT1);
  service_->PutFile("ソフト.txt", "abc", kT1);
  service_->PutFile("a%b#c.txt", "12345", kT2);
  service_->PutFile("r&d ポ.csv", "x", kT1);
  service_->PutFile("README.TXT", "upper-case names are left out", kT1);

  EXPECT_EQ(List(""), (std::vector<Item>{{"a%b#c.txt", kFile, 5, kT2},
                                         {"r&d ポ.csv", kFile, 1, kT1},
                                         {"ソフト.txt", kFile, 3, kT1},
                                         {"能", kFolder, 0, kT1},
                                         {"表計算", kFolder, 0, kT1}}));
  EXPECT_EQ(List("表計算/"), (std::vector<Item>{{"ソ十.txt", kFile, 4, kT2}}));
  EXPECT_TRUE(List("能/").empty());
  List("無い/", result::kNotFound);

  FindData item;
  ASSERT_EQ(FileStatus(Session(), Server("ソフト.txt"), &item), 0u);
  EXPECT_EQ((Item{item.name, item.attributes, item.size, item.last_write_time}),
            (Item{"ソフト.txt", kFile, 3, kT1}));
  ASSERT_EQ(FileStatus(Session(), Server("a%b#c.txt"), &item), 0u);
  EXPECT_EQ(item.size, 5u);
  EXPECT_EQ(FileStatus(Session(), Server("無い.txt"), &item), result::kNotFound);
  uint64_t size = 0;
  ASSERT_EQ(QuerySize(Session(), Server("表計算/ソ十.txt"), &size), 0u);
  EXPECT_EQ(size, 4u);
}

TEST_P(ModelContract, UploadsWholeFilesAndGivesThemBack) {
  service_->MakeFolder("能", kT1);
  ASSERT_EQ(Upload("hello", "新規.txt"), 0u);
  ExpectTree({{"新規.txt", File("hello", kNow)}, {"能", Folder(kT1)}});

  ASSERT_EQ(SetLastModified(Session(), kT2, Server("新規.txt")), 0u);
  FindData item;
  ASSERT_EQ(Download(Session(), Server("新規.txt"), "C:\\down.txt", &item), 0u);
  std::string local;
  ASSERT_TRUE(twin_.files.ReadWholeFile("C:\\down.txt", &local));
  EXPECT_EQ(local, "hello");
  EXPECT_EQ((Item{item.name, item.attributes, item.size, item.last_write_time}),
            (Item{"新規.txt", kFile, 5, kT2}));

  // Replacing gives the file the time of the upload; an empty file is one PUT.
  ASSERT_EQ(Upload("bye!", "新規.txt"), 0u);
  ASSERT_EQ(Upload("", "空.txt", 4096), 0u);
  EXPECT_EQ(Upload("x", "無い/x.txt"), result::kNotFound);
  EXPECT_EQ(Upload("x", "能"), result::kUploadFailed);  // 405: a folder is there
  EXPECT_EQ(Download(Session(), Server("無い.txt"), "C:\\down.txt", nullptr), result::kNotFound);
  ExpectTree({{"新規.txt", File("bye!", kNow)}, {"空.txt", File("", kNow)}, {"能", Folder(kT1)}});
}

TEST_P(ModelContract, UploadsLargeFilesInPiecesUnderALock) {
  const std::string big = Pattern(10000, 1);
  ASSERT_EQ(Upload(big, "大きい.bin", 4096), 0u);
  ExpectTree({{"大きい.bin", File(big, kNow)}});
  std::string path, token;
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token)) << "the upload's lock was not released";
  EXPECT_EQ(Discover("大きい.bin").token, "");

  const std::string other = Pattern(9000, 2);
  const std::string exact = Pattern(4096, 3);
  ASSERT_EQ(Upload(other, "大きい.bin", 4096), 0u);
  ASSERT_EQ(Upload(exact, "丁度.bin", 4096), 0u);
  ExpectTree({{"大きい.bin", File(other, kNow)}, {"丁度.bin", File(exact, kNow)}});
}

// Our client escapes only "%" and "#": what follows a "?" in a name is a query to the
// service, and the file gets the name before it.
TEST_P(ModelContract, ANameWithAQuestionMarkLosesItsTail) {
  ASSERT_EQ(Upload("q", "what?.txt"), 0u);
  ExpectTree({{"what", File("q", kNow)}});
  const std::vector<Item> listed = List("");
  ASSERT_EQ(listed.size(), 1u);
  EXPECT_EQ(listed[0].name, "what");
}

TEST_P(ModelContract, MakesEmptiesAndDeletesFolders) {
  ASSERT_EQ(MakeFolder(Session(), Server("新しい/")), 0u);
  EXPECT_EQ(MakeFolder(Session(), Server("新しい/")), result::kMkcolFailed);  // 405
  EXPECT_EQ(MakeFolder(Session(), Server("無い/子/")), result::kNotFound);    // 409
  ASSERT_EQ(MakeFolder(Session(), Server("新しい/十/")), 0u);
  ASSERT_EQ(Upload("123", "新しい/a.txt"), 0u);
  ASSERT_EQ(Upload("4567", "新しい/十/b.txt"), 0u);
  ExpectTree({{"新しい", Folder(kNow)},
              {"新しい/a.txt", File("123", kNow)},
              {"新しい/十", Folder(kNow)},
              {"新しい/十/b.txt", File("4567", kNow)}});

  QuotaFigures figures;
  ASSERT_EQ(QueryQuota(Session(), kModelRoot, &figures), 0u);
  EXPECT_EQ(figures.used, 7);
  ASSERT_EQ(DeleteResource(Session(), Server("新しい/")), 0u);
  ExpectTree({});
  ASSERT_EQ(QueryQuota(Session(), kModelRoot, &figures), 0u);
  EXPECT_EQ(figures.used, 0);
  EXPECT_EQ(DeleteResource(Session(), Server("新しい/")), result::kNotFound);

  service_->MakeFolder("箱", kT1);
  service_->MakeFolder("箱/中", kT1);
  service_->PutFile("箱/中/c.txt", "c", kT1);
  service_->PutFile("箱/d.txt", "d", kT2);
  ASSERT_EQ(EmptyFolder(Session(), Server("箱/")), 0u);
  ExpectTree({{"箱", Folder(kNow)}});
}

TEST_P(ModelContract, TakesAndReleasesItsOwnLocks) {
  service_->PutFile("鍵.txt", "k", kT1);
  std::string first;
  ASSERT_EQ(Lock(Session(), Server("鍵.txt"), &first), 0u);
  EXPECT_EQ(first.rfind("opaquelocktoken:", 0), 0u) << first;
  ActiveLock found = Discover("鍵.txt");
  EXPECT_EQ(found.owner, kModelUser);
  EXPECT_EQ(found.token, first);

  // Locking again meets the lock, releases it as this user's own and locks anew.
  std::string second;
  ASSERT_EQ(Lock(Session(), Server("鍵.txt"), &second), 0u);
  EXPECT_NE(second, first);
  EXPECT_EQ(Unlock(Session(), Server("鍵.txt"), first), 0u);  // 412: already gone
  EXPECT_EQ(Unlock(Session(), Server("鍵.txt"), second), 0u);
  EXPECT_EQ(Discover("鍵.txt").token, "");

  // A lock on a name where nothing exists reserves it without making a file.
  std::string reserved;
  ASSERT_EQ(Lock(Session(), Server("予約.txt"), &reserved), 0u);
  FindData item;
  EXPECT_EQ(FileStatus(Session(), Server("予約.txt"), &item), result::kNotFound);
  EXPECT_EQ(List(""), (std::vector<Item>{{"鍵.txt", kFile, 1, kT1}}));
  EXPECT_EQ(Discover("予約.txt").token, reserved);
  ASSERT_EQ(ReleaseOwnLocksOnDisk(Session(), kModelRoot), 0u);
  Discover("予約.txt", result::kLockDiscoveryFailed);  // 404: the name is free again

  // The lock an interrupted upload saved is released by the next connection.
  std::string saved;
  ASSERT_EQ(Lock(Session(), Server("鍵.txt"), &saved), 0u);
  settings_.WriteLockToken(Server("鍵.txt"), saved);
  ReleaseSavedLock(Session());
  std::string path, token;
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));
  EXPECT_EQ(Discover("鍵.txt").token, "");
  ExpectTree({{"鍵.txt", File("k", kT1)}});
}

TEST_P(ModelContract, SomeoneElsesLocksRefuseChanges) {
  service_->PutFile("他.txt", "theirs", kT1);
  service_->MakeFolder("共有", kT1);
  service_->PutFile("共有/a.txt", "a", kT1);
  service_->HoldLock("他.txt", 60, false);
  service_->HoldLock("共有", 3600, true);

  EXPECT_EQ(Upload("mine", "他.txt"), result::kLockedByOther);
  EXPECT_EQ(SetLastModified(Session(), kT2, Server("他.txt")), result::kLockedByOther);
  EXPECT_EQ(DeleteResource(Session(), Server("他.txt")), result::kLockedByOther);
  std::string token;
  EXPECT_EQ(Lock(Session(), Server("他.txt"), &token), result::kLockedByOther);
  EXPECT_EQ(Discover("他.txt").owner, "someone-else@example.jp");

  EXPECT_EQ(DeleteResource(Session(), Server("共有/")), result::kLockedByOther);
  // The 423 of a new name sends the client to discover a lock on it, which finds no
  // resource there (404).
  EXPECT_EQ(Upload("new", "共有/new.txt"), result::kLockDiscoveryFailed);
  EXPECT_EQ(Upload("changed", "共有/a.txt"), result::kLockedByOther);
  EXPECT_EQ(MakeFolder(Session(), Server("共有/sub/")), result::kLockedByOther);
  ExpectTree(
      {{"他.txt", File("theirs", kT1)}, {"共有", Folder(kT1)}, {"共有/a.txt", File("a", kT1)}});

  // A lock that ran out no longer stands in the way.
  service_->Advance(61);
  ASSERT_EQ(Upload("mine", "他.txt"), 0u);
  ExpectTree(
      {{"他.txt", File("mine", kNow)}, {"共有", Folder(kT1)}, {"共有/a.txt", File("a", kT1)}});
}

TEST_P(ModelContract, ChangesReleaseTheLocksAnEarlierRunLeftBehind) {
  service_->MakeFolder("古", kT1);
  service_->PutFile("古/a.txt", "a", kT1);
  service_->PutFile("b.txt", "b", kT1);
  std::string token;
  ASSERT_EQ(Lock(Session(), Server("古/a.txt"), &token), 0u);
  ASSERT_EQ(DeleteResource(Session(), Server("古/")), 0u);  // the disk-wide release
  ASSERT_EQ(Lock(Session(), Server("b.txt"), &token), 0u);
  ASSERT_EQ(SetLastModified(Session(), kT2, Server("b.txt")), 0u);
  ExpectTree({{"b.txt", File("b", kT2)}});
  ASSERT_EQ(Lock(Session(), Server("b.txt"), &token), 0u);
  ASSERT_EQ(Upload("bb", "b.txt"), 0u);
  ExpectTree({{"b.txt", File("bb", kNow)}});
}

TEST_P(ModelContract, KeepsToTheQuota) {
  service_->SetQuota(10000);
  service_->PutFile("q.txt", Pattern(3000, 4), kT1);
  QuotaFigures figures;
  ASSERT_EQ(QueryQuota(Session(), kModelRoot, &figures), 0u);
  EXPECT_EQ(figures.quota, 10000);
  EXPECT_EQ(figures.used, 3000);
  EXPECT_EQ(figures.free, 7000);

  EXPECT_EQ(Upload(Pattern(8000, 5), "r.bin"), result::kServerDiskFull);
  EXPECT_EQ(Upload(Pattern(8000, 5), "r.bin", 4096), result::kServerDiskFull);
  std::string path, token;
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));
  ExpectTree({{"q.txt", File(Pattern(3000, 4), kT1)}});

  // Replacing a file counts only the difference.
  const std::string larger = Pattern(9000, 6);
  ASSERT_EQ(Upload(larger, "q.txt", 4096), 0u);
  ASSERT_EQ(QueryQuota(Session(), kModelRoot, &figures), 0u);
  EXPECT_EQ(figures.used, 9000);
  EXPECT_EQ(figures.free, 1000);
  ExpectTree({{"q.txt", File(larger, kNow)}});
}

// The faults a simulation puts in front of the model leave the disk as the emulator's own
// fault rules do, and the client meets them the same way.
TEST_P(ModelContract, MeetsInjectedFaultsAsTheEmulatorDoes) {
  service_->PutFile("old.txt", "old", kT1);
  service_->InjectFault("PUT", "old.txt", "cut-request=2");
  EXPECT_EQ(Upload("new content", "old.txt"), result::kUploadFailed);  // no answer at all
  service_->InjectFault("PUT", "big.bin", "cut-request=100");
  EXPECT_EQ(Upload(Pattern(10000, 7), "big.bin", 4096), result::kUploadFailed);
  Discover("big.bin", result::kLockDiscoveryFailed);  // unlocked: the name is free again
  service_->InjectFault("GET", "old.txt", "cut-response=1");
  EXPECT_EQ(Download(Session(), Server("old.txt"), "C:\\got.txt", nullptr),
            result::kConnectionBroken);
  EXPECT_FALSE(twin_.files.Exists("C:\\got.txt"));
  service_->InjectFault("PROPFIND", "", "status=503");
  List("", result::kServerBusy);
  service_->InjectFault("PUT", "old.txt", "status=507");
  EXPECT_EQ(Upload("new content", "old.txt"), result::kServerDiskFull);
  service_->InjectFault("MKCOL", "made/", "cut-response=0");
  EXPECT_EQ(MakeFolder(Session(), Server("made/")), 0u);  // the answer had no body to cut
  ExpectTree({{"old.txt", File("old", kT1)}, {"made", Folder(kNow)}});
}

TEST_P(ModelContract, ChecksTheServerAndRefusesWrongCredentials) {
  std::string host = "127.0.0.1";
  ASSERT_EQ(Session().CheckServer(kModelRoot, true, &host), 0u);
  EXPECT_EQ(host, kPreferredHost);
  EXPECT_EQ(Session().CheckServer(kModelRoot, false, &host), 0u);
  EXPECT_EQ(Session().CheckServer("/~hanako@example.jp/file/", false, &host), result::kAuthFailed);

  ServerSession& wrong = Session(0, "wrong");
  EXPECT_EQ(wrong.CheckServer(kModelRoot, false, &host), result::kAuthFailed);
  const Listing* listing = nullptr;
  EXPECT_EQ(ListFolder(wrong, kModelRoot, &listing), result::kAuthFailed);
  FindData item;
  EXPECT_EQ(FileStatus(wrong, Server("a.txt"), &item), result::kAuthFailed);
  EXPECT_EQ(qbrk::Upload(wrong, Local("x"), Server("a.txt")), result::kAuthFailed);
  QuotaFigures figures;
  EXPECT_EQ(QueryQuota(wrong, kModelRoot, &figures), result::kQuotaFailed);
  ExpectTree({});
}

// Requests our client's operations never make on purpose, but meet when something goes
// wrong: the statuses must be the emulator's.
TEST_P(ModelContract, AnswersOddRequestsWithTheEmulatorsStatuses) {
  service_->SetQuota(1000);
  const std::string auth = "Basic dGFyb0BleGFtcGxlLmpwOnNlY3JldA==";
  std::string token;
  struct Step {
    std::string method;
    std::string rel;  // below the disk root, as sent
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    uint32_t status;
  };
  auto If = [&] { return std::make_pair(std::string("If"), "(<" + token + ">)"); };
  const std::string lock_body =
      "<?xml version=\"1.0\"?><D:lockinfo xmlns:D=\"DAV:\"><D:lockscope><D:exclusive/>"
      "</D:lockscope><D:locktype><D:write/></D:locktype></D:lockinfo>";
  auto patch = [](const std::string& prop) {
    return "<D:propertyupdate xmlns:D=\"DAV:\"><D:set><D:prop>" + prop +
           "</D:prop></D:set></D:propertyupdate>";
  };
  const std::vector<std::function<Step()>> steps = {
      [&] {
        return Step{"HEAD", "", {}, "", 200};
      },
      [&] {
        return Step{"OPTIONS", "", {}, "", 200};
      },
      [&] {
        return Step{"PUT", "raw/x", {}, "x", 409};
      },
      [&] {
        return Step{"MKCOL", "raw", {}, "", 201};
      },
      [&] {
        return Step{"MKCOL", "raw", {}, "", 405};
      },
      [&] {
        return Step{"MKCOL", "raw2", {}, "body", 415};
      },
      [&] {
        return Step{"PUT", "raw", {}, "x", 405};
      },
      [&] {
        return Step{"PUT", "raw/y/", {}, "x", 405};
      },
      [&] {
        return Step{"PUT", "raw/表.txt", {}, "a", 201};
      },
      [&] {
        return Step{"PUT", "raw/表.txt", {}, "ab", 204};
      },
      [&] {
        return Step{"GET", "raw/表.txt/", {}, "", 404};
      },
      [&] {
        return Step{"GET", "raw/", {}, "", 200};
      },
      [&] {
        return Step{"GET", "raw/../x", {}, "", 403};
      },
      [&] {
        return Step{"GET", "raw/%5cx", {}, "", 403};
      },
      [&] {
        return Step{"GET", "raw/%2fx", {}, "", 403};
      },
      [&] {
        return Step{"GET", "raw/%zz", {}, "", 400};
      },
      [&] {
        return Step{"GET", "raw//x", {}, "", 400};
      },
      [&] {
        return Step{"PUT", "raw/\x01.txt", {}, "", 400};
      },
      [&] {
        return Step{"PROPFIND", "raw/", {{"Depth", "2"}}, "", 400};
      },
      [&] {
        return Step{"PROPFIND", "raw/", {{"Depth", "1"}}, "<bad", 400};
      },
      [&] {
        return Step{"PROPFIND", "nothing/", {{"Depth", "1"}}, "", 404};
      },
      [&] {
        return Step{"PROPPATCH",
                    "raw/表.txt",
                    {},
                    patch("<D:getlastmodified>Mon, 10 Oct 2010 10:10:10 GMT</D:getlastmodified>"),
                    400};
      },
      [&] {
        return Step{"PROPPATCH",
                    "raw/表.txt",
                    {},
                    patch("<D:getcontentlength>9</D:getcontentlength>"),
                    207};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {{"Content-Range", "bytes 0-1/4"}}, "ab", 412};
      },
      [&] {
        return Step{"LOCK", "raw/p.bin", {{"Depth", "1"}}, lock_body, 400};
      },
      [&] {
        return Step{"LOCK", "raw/p.bin", {{"Depth", "0"}}, lock_body, 200};
      },
      [&] {
        return Step{"LOCK", "raw/p.bin", {{"Depth", "0"}}, lock_body, 423};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {{"Content-Range", "bytes 2-3/4"}, If()}, "cd", 409};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {{"Content-Range", "bytes 0-1/4"}, If()}, "ab", 204};
      },
      [&] {
        return Step{"GET", "raw/p.bin", {}, "", 404};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {{"Content-Range", "bytes 2-3/4"}, If()}, "c", 400};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {{"Content-Range", "bytes 2-3/4"}, If()}, "cd", 201};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {}, "x", 423};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {{"If", "(<opaquelocktoken:nothing>)"}}, "x", 412};
      },
      [&] {
        return Step{"PUT", "raw/p.bin", {{"If", "(<broken"}}, "x", 400};
      },
      [&] {
        return Step{"UNLOCK", "raw/p.bin", {{"Lock-Token", "<opaquelocktoken:x>"}}, "", 412};
      },
      [&] {
        return Step{"UNLOCK", "raw/p.bin", {}, "", 400};
      },
      [&] {
        return Step{"UNLOCK", "raw/p.bin", {{"Lock-Token", "<" + token + ">"}}, "", 204};
      },
      [&] {
        return Step{"UNLOCK", "raw/p.bin", {{"Lock-Token", "<" + token + ">"}}, "", 412};
      },
      [&] {
        return Step{"PUT", "raw/big.bin", {}, std::string(2000, 'b'), 507};
      },
      [&] {
        return Step{"DELETE", "", {}, "", 403};
      },
      [&] {
        return Step{"DELETE", "raw/", {{"Depth", "0"}}, "", 400};
      },
      [&] {
        return Step{"DELETE", "raw/", {}, "", 204};
      },
  };
  for (size_t i = 0; i < steps.size(); ++i) {
    const Step step = steps[i]();
    HandlerRequest request{step.method,
                           kModelRoot + step.rel,
                           {{"Authorization", auth}, {"Accept-Charset", "Shift_JIS"}},
                           step.body};
    request.headers.insert(request.headers.end(), step.headers.begin(), step.headers.end());
    const HandlerResponse answer = service_->Handle(request);
    EXPECT_EQ(answer.status, step.status)
        << "step " << i << ": " << step.method << " " << step.rel << "\n"
        << answer.body;
    for (const auto& [name, value] : answer.headers) {
      if (name == "Lock-Token") token = value.substr(1, value.size() - 2);
    }
  }
  ExpectTree({});

  // Credentials and paths outside the disk.
  HandlerResponse answer = service_->Handle({"GET", kModelRoot, {}, ""});
  EXPECT_EQ(answer.status, 401u);
  EXPECT_NE(std::find(answer.headers.begin(), answer.headers.end(),
                      std::make_pair(std::string("WWW-Authenticate"),
                                     std::string("Basic realm=\"Quellanbrook\""))),
            answer.headers.end());
  EXPECT_EQ(service_->Handle({"GET", kModelRoot, {{"Authorization", "Basic %%%%"}}, ""}).status,
            400u);
  EXPECT_EQ(
      service_->Handle({"GET", "/~hanako@example.jp/file/", {{"Authorization", auth}}, ""}).status,
      404u);
  EXPECT_EQ(service_->Handle({"GET", "/elsewhere", {{"Authorization", auth}}, ""}).status, 404u);
}

INSTANTIATE_TEST_SUITE_P(Model, ModelContract,
                         ::testing::Values(Implementation<ServiceUnderTest>{"Model",
                                                                            &MakeModelUnderTest}),
                         ImplementationName());
INSTANTIATE_TEST_SUITE_P(Emulator, ModelContract,
                         ::testing::Values(Implementation<ServiceUnderTest>{
                             "Emulator", &MakeEmulatorUnderTest}),
                         ImplementationName());

}  // namespace
}  // namespace qbrk::testing
