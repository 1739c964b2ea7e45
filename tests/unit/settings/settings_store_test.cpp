#include "settings/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_registry.h"
#include "settings/recording_registry.h"

namespace qbrk {
namespace {

using testing::RecordingRegistry;

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;

std::vector<uint8_t> Bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

class SettingsStoreTest : public ::testing::Test {
 protected:
  bool Has(const std::string& name) const {
    return memory_.Find(kUser, kSettingsKey, name) != nullptr;
  }
  uint32_t StoredDword(const std::string& name) const {
    const MemoryRegistry::Value* value = memory_.Find(kUser, kSettingsKey, name);
    EXPECT_NE(value, nullptr) << name;
    if (!value || value->data.size() != 4) return 0xDEADBEEF;
    EXPECT_EQ(value->type, reg_type::kDword) << name;
    return value->data[0] | value->data[1] << 8 | value->data[2] << 16 | value->data[3] << 24;
  }
  void ReadEveryDword() {
    settings_.PutUnit();
    settings_.UseSsl();
    settings_.PortSsl();
    settings_.Port();
    settings_.PutLog();
    settings_.Timeout();
    settings_.LockTimeOut();
    settings_.ServerCheck();
    settings_.FinishClose();
    settings_.SyncNotify();
    settings_.CheckBoot();
    settings_.Animation();
  }

  MemoryRegistry memory_;
  RecordingRegistry registry_{memory_};
  FakeClock clock_;
  Settings settings_{registry_, clock_};
};

TEST_F(SettingsStoreTest, FreshKeyReadsDefaultsAndWritesBackOnlyTheChosenValues) {
  EXPECT_EQ(settings_.PutUnit(), 524288u);
  EXPECT_EQ(settings_.UseSsl(), 0u);
  EXPECT_EQ(settings_.PortSsl(), 443u);
  EXPECT_EQ(settings_.Port(), 80u);
  EXPECT_EQ(settings_.PutLog(), 5u);
  EXPECT_EQ(settings_.Timeout(), 900000u);
  EXPECT_EQ(settings_.LockTimeOut(), 21600u);
  EXPECT_EQ(settings_.ServerCheck(), 1u);
  EXPECT_EQ(settings_.FinishClose(), 0u);
  EXPECT_EQ(settings_.SyncNotify(), 1u);
  EXPECT_EQ(settings_.CheckBoot(), 1u);
  EXPECT_EQ(settings_.Animation(), 1u);
  EXPECT_EQ(settings_.ReadSuffix(), "\"$$$\"");

  EXPECT_EQ(StoredDword("PutUnit"), 524288u);
  EXPECT_EQ(StoredDword("UseSSL"), 0u);
  EXPECT_EQ(StoredDword("FinishClose"), 0u);
  const MemoryRegistry::Value* suffix = memory_.Find(kUser, kSettingsKey, "Suffix");
  ASSERT_NE(suffix, nullptr);
  EXPECT_EQ(suffix->type, reg_type::kString);
  EXPECT_EQ(suffix->data, Bytes("\"$$$\""));  // five bytes, no terminator
  for (const char* never :
       {"Port", "PortSSL", "Timeout", "LockTimeOut", "PutLog", "ServerCheck", "SyncNotify",
        "CheckBoot", "Animation", "Mirror", "Domain", "Root", "PubServlet", "Info", "LockToken"})
    EXPECT_FALSE(Has(never)) << never;
}

TEST_F(SettingsStoreTest, ValuesSetByHandAreReadAndNeverOverwritten) {
  const std::vector<std::pair<const char*, uint32_t>> hand = {
      {"PutUnit", 131072}, {"UseSSL", 1},     {"PortSSL", 8443},   {"Port", 8080},
      {"PutLog", 2},       {"Timeout", 1000}, {"LockTimeOut", 60}, {"ServerCheck", 0},
      {"FinishClose", 1},  {"SyncNotify", 0}, {"CheckBoot", 0},    {"Animation", 0}};
  for (const auto& [name, value] : hand)
    memory_.PutDword(kUser, kSettingsKey, name, value);
  EXPECT_EQ(settings_.PutUnit(), 131072u);
  EXPECT_EQ(settings_.UseSsl(), 1u);
  EXPECT_EQ(settings_.PortSsl(), 8443u);
  EXPECT_EQ(settings_.Port(), 8080u);
  EXPECT_EQ(settings_.PutLog(), 2u);
  EXPECT_EQ(settings_.Timeout(), 1000u);
  EXPECT_EQ(settings_.LockTimeOut(), 60u);
  EXPECT_EQ(settings_.ServerCheck(), 0u);
  EXPECT_EQ(settings_.FinishClose(), 1u);
  EXPECT_EQ(settings_.SyncNotify(), 0u);
  EXPECT_EQ(settings_.CheckBoot(), 0u);
  EXPECT_EQ(settings_.Animation(), 0u);
  for (const auto& [name, value] : hand)
    EXPECT_EQ(StoredDword(name), value) << name;
}

TEST_F(SettingsStoreTest, ReadersOpenForReadingAndOnlyWritersCreateTheKey) {
  memory_.PutDword(kUser, kSettingsKey, "PutUnit", 1);
  memory_.PutDword(kUser, kSettingsKey, "UseSSL", 1);
  memory_.PutDword(kUser, kSettingsKey, "FinishClose", 1);
  memory_.Put(kUser, kSettingsKey, "Suffix", reg_type::kString, Bytes("\"a\""));
  registry_.clear();
  ReadEveryDword();
  std::string text;
  settings_.ReadDomain(&text);
  settings_.ReadRoot(&text);
  settings_.ReadMirror(&text);
  settings_.ReadSuffix();
  Credentials credentials;
  settings_.ReadCredentials(CredentialKind::kService, &credentials);
  ASSERT_FALSE(registry_.openings().empty());
  for (const auto& opening : registry_.openings()) {
    EXPECT_FALSE(opening.created) << opening.path;
    EXPECT_EQ(opening.access, RegistryAccess::kRead) << opening.path;
  }

  registry_.clear();
  settings_.WriteDword("CheckBoot", 0);
  settings_.WriteMirror("C:\\m");
  settings_.WriteLockToken("/p", "t");
  ASSERT_EQ(registry_.openings().size(), 3u);
  for (const auto& opening : registry_.openings())
    EXPECT_TRUE(opening.created);
}

TEST_F(SettingsStoreTest, LockTokenDeletionOpensWithWriteAccessAndNeverCreates) {
  EXPECT_FALSE(settings_.DeleteLockToken());
  EXPECT_FALSE(memory_.KeyExists(kUser, kSettingsKey));
  ASSERT_EQ(registry_.openings().size(), 1u);
  EXPECT_FALSE(registry_.openings()[0].created);
  EXPECT_EQ(registry_.openings()[0].access, RegistryAccess::kWrite);

  settings_.WriteLockToken("/~taro/file/a.bin", "opaquelocktoken:1234");
  std::string path, token;
  ASSERT_TRUE(settings_.ReadLockToken(&path, &token));
  EXPECT_EQ(path, "/~taro/file/a.bin");
  EXPECT_EQ(token, "opaquelocktoken:1234");
  EXPECT_TRUE(settings_.DeleteLockToken());
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));
  EXPECT_FALSE(settings_.DeleteLockToken());
}

TEST_F(SettingsStoreTest, DomainAloneSucceedsWhenTheKeyIsMissing) {
  std::string host = "built-in", root = "r", servlet = "s";
  EXPECT_TRUE(settings_.ReadDomain(&host));
  EXPECT_EQ(host, "built-in");
  EXPECT_FALSE(settings_.ReadRoot(&root));
  EXPECT_FALSE(settings_.ReadPubServlet(&servlet));

  // The key opens but holds none of them: all three fail.
  memory_.PutDword(kUser, kSettingsKey, "Port", 80);
  EXPECT_FALSE(settings_.ReadDomain(&host));
  EXPECT_FALSE(settings_.ReadRoot(&root));
  EXPECT_FALSE(settings_.ReadPubServlet(&servlet));
  EXPECT_EQ(host, "built-in");

  memory_.PutString(kUser, kSettingsKey, "Domain", "dav.example.test");
  memory_.PutString(kUser, kSettingsKey, "Root", "/~hanako/file");
  memory_.PutString(kUser, kSettingsKey, "PubServlet", "/pub/servlet");
  EXPECT_TRUE(settings_.ReadDomain(&host));
  EXPECT_TRUE(settings_.ReadRoot(&root));
  EXPECT_TRUE(settings_.ReadPubServlet(&servlet));
  EXPECT_EQ(host, "dav.example.test");
  EXPECT_EQ(root, "/~hanako/file");
  EXPECT_EQ(servlet, "/pub/servlet");
}

TEST_F(SettingsStoreTest, AKeyThatCannotBeOpenedGivesDefaultsAndRefusesWrites) {
  memory_.FailKey(kUser, kSettingsKey, sys_error::kAccessDenied);
  EXPECT_EQ(settings_.PutUnit(), 524288u);
  EXPECT_EQ(settings_.SyncNotify(), 1u);
  EXPECT_EQ(settings_.ReadSuffix(), "\"$$$\"");
  std::string host = "built-in";
  EXPECT_TRUE(settings_.ReadDomain(&host));
  EXPECT_FALSE(settings_.WriteDword("CheckBoot", 0));
  EXPECT_FALSE(settings_.WriteMirror("C:\\x"));
}

TEST_F(SettingsStoreTest, SyncListLayoutNeedsExactlyFiftyTwoBytes) {
  SyncListLayout layout;
  EXPECT_FALSE(settings_.ReadSyncListLayout(&layout));
  SyncListLayout written;
  written.width = 640;
  written.height = -1;
  written.column_widths = {200, 60, 80, 120, 90};
  written.column_order = {4, 3, 2, 1, 0};
  settings_.WriteSyncListLayout(written);
  const MemoryRegistry::Value* stored = memory_.Find(kUser, kSettingsKey, "SycLstDlg");
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->type, reg_type::kBinary);
  ASSERT_EQ(stored->data.size(), 52u);
  EXPECT_EQ(std::vector<uint8_t>(stored->data.begin(), stored->data.begin() + 12),
            (std::vector<uint8_t>{1, 0, 0, 0, 0x80, 2, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
  ASSERT_TRUE(settings_.ReadSyncListLayout(&layout));
  EXPECT_EQ(layout.version, 1);
  EXPECT_EQ(layout.width, 640);
  EXPECT_EQ(layout.height, -1);
  EXPECT_EQ(layout.column_widths, written.column_widths);
  EXPECT_EQ(layout.column_order, written.column_order);

  for (size_t size : {0u, 51u, 53u, 104u}) {
    memory_.Put(kUser, kSettingsKey, "SycLstDlg", reg_type::kBinary, std::vector<uint8_t>(size, 7));
    EXPECT_FALSE(settings_.ReadSyncListLayout(&layout)) << size;
  }
}

TEST_F(SettingsStoreTest, DiskRootComesFromRootOrFromTheUserName) {
  std::string root;
  EXPECT_FALSE(DiskRoot(settings_, "", false, &root));
  ASSERT_TRUE(DiskRoot(settings_, "taro@example.jp", false, &root));
  EXPECT_EQ(root, "/~taro@example.jp/file");
  ASSERT_TRUE(DiskRoot(settings_, "taro@example.jp", true, &root));
  EXPECT_EQ(root, "/~taro@example.jp/file/");
  memory_.PutString(kUser, kSettingsKey, "Root", "/disk/hanako");
  ASSERT_TRUE(DiskRoot(settings_, "", true, &root));
  EXPECT_EQ(root, "/disk/hanako/");
  memory_.PutString(kUser, kSettingsKey, "Root", "/disk/hanako/");
  ASSERT_TRUE(DiskRoot(settings_, "taro", true, &root));
  EXPECT_EQ(root, "/disk/hanako/");
}

TEST_F(SettingsStoreTest, MachineWideValuesAreReadFromTheirOwnKeys) {
  std::string text;
  EXPECT_FALSE(settings_.ReadHomePageUrl("QuellanbrookEmergency", &text));
  EXPECT_FALSE(settings_.ReadSetupFolder(&text));
  memory_.PutString(RegistryRoot::kLocalMachine, kHomePageKey, "QuellanbrookEmergency",
                    "http://status.example.test/");
  memory_.PutString(RegistryRoot::kLocalMachine, kSetupFolderKey, "qbrkClientTool",
                    "C:\\Program Files\\Qbrook");
  // The same names in the user's key must not be mistaken for them.
  memory_.PutString(kUser, kSettingsKey, "QuellanbrookEmergency", "http://wrong/");
  ASSERT_TRUE(settings_.ReadHomePageUrl("QuellanbrookEmergency", &text));
  EXPECT_EQ(text, "http://status.example.test/");
  ASSERT_TRUE(settings_.ReadSetupFolder(&text));
  EXPECT_EQ(text, "C:\\Program Files\\Qbrook");
  EXPECT_FALSE(settings_.ReadHomePageUrl("Other", &text));
}

}  // namespace
}  // namespace qbrk
