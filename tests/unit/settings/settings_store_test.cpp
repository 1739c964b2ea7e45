#include "settings/settings.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/memory/memory_registry.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;

struct DwordCase {
  const char* name;
  std::function<uint32_t(Settings&)> read;
  uint32_t default_value;
  bool written_back;
};

const std::vector<DwordCase> kDwords = {
    {"PutUnit", &Settings::PutUnit, 524288, true},
    {"UseSSL", &Settings::UseSsl, 0, true},
    {"FinishClose", &Settings::FinishClose, 0, true},
    {"PortSSL", &Settings::PortSsl, 443, false},
    {"Port", &Settings::Port, 80, false},
    {"PutLog", &Settings::PutLog, 5, false},
    {"Timeout", &Settings::Timeout, 900000, false},
    {"LockTimeOut", &Settings::LockTimeOut, 21600, false},
    {"ServerCheck", &Settings::ServerCheck, 1, false},
    {"SyncNotify", &Settings::SyncNotify, 1, false},
    {"CheckBoot", &Settings::CheckBoot, 1, false},
    {"Animation", &Settings::Animation, 1, false},
};

std::vector<uint8_t> Le(uint32_t v) {
  return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
}

TEST(SettingsStoreTest, DefaultsWriteBackAndValuesSetByHand) {
  MemoryRegistry registry;
  Settings settings(registry);
  EXPECT_EQ(settings.Port(), 80u);
  EXPECT_FALSE(registry.KeyExists(kUser, kSettingsKey)) << "readers never create the key";
  for (const DwordCase& c : kDwords)
    EXPECT_EQ(c.read(settings), c.default_value) << c.name;
  EXPECT_EQ(settings.ReadSuffix(), "\"$$$\"");
  for (const DwordCase& c : kDwords) {
    const MemoryRegistry::Value* value = registry.Find(kUser, kSettingsKey, c.name);
    ASSERT_EQ(value != nullptr, c.written_back) << c.name;
    if (value) {
      EXPECT_EQ(value->data, Le(c.default_value)) << c.name;
    }
  }
  EXPECT_EQ(registry.Find(kUser, kSettingsKey, "Suffix")->data,
            std::vector<uint8_t>({'"', '$', '$', '$', '"'}));

  for (const DwordCase& c : kDwords)
    registry.PutDword(kUser, kSettingsKey, c.name, 77);
  for (const DwordCase& c : kDwords)
    EXPECT_EQ(c.read(settings), 77u) << c.name;
  EXPECT_TRUE(settings.WriteDword("CheckBoot", 0));
  EXPECT_EQ(settings.CheckBoot(), 0u);
}

TEST(SettingsStoreTest, LockTokenDeletionOpensTheKeyForWritingWithoutCreatingIt) {
  MemoryRegistry registry;
  Settings settings(registry);
  EXPECT_FALSE(settings.DeleteLockToken());
  EXPECT_FALSE(registry.KeyExists(kUser, kSettingsKey));
  settings.WriteLockToken("/~taro/file/a.bin", "opaquelocktoken:1");
  std::string path, token;
  ASSERT_TRUE(settings.ReadLockToken(&path, &token));
  EXPECT_EQ(path + " " + token, "/~taro/file/a.bin opaquelocktoken:1");
  EXPECT_TRUE(settings.DeleteLockToken());
  EXPECT_FALSE(settings.ReadLockToken(&path, &token));
}

TEST(SettingsStoreTest, DomainAloneSucceedsWhenTheKeyCannotBeOpened) {
  MemoryRegistry registry;
  Settings settings(registry);
  std::string host = "built-in", root, servlet;
  EXPECT_TRUE(settings.ReadDomain(&host));
  EXPECT_FALSE(settings.ReadRoot(&root) || settings.ReadPubServlet(&servlet));
  registry.PutDword(kUser, kSettingsKey, "Port", 80);  // the key exists now
  EXPECT_FALSE(settings.ReadDomain(&host));
  EXPECT_EQ(host, "built-in");
  registry.PutString(kUser, kSettingsKey, "Domain", "dav.example.test");
  EXPECT_TRUE(settings.ReadDomain(&host));
  EXPECT_EQ(host, "dav.example.test");
  registry.FailKey(kUser, kSettingsKey, sys_error::kAccessDenied);
  EXPECT_TRUE(settings.ReadDomain(&host));
  EXPECT_EQ(settings.PutUnit(), 524288u);
  EXPECT_FALSE(settings.WriteMirror("C:\\x"));
}

TEST(SettingsStoreTest, DiskRootComesFromRootOrFromTheUserName) {
  MemoryRegistry registry;
  Settings settings(registry);
  std::string root;
  EXPECT_FALSE(DiskRoot(settings, "", false, &root));
  ASSERT_TRUE(DiskRoot(settings, "taro@example.jp", true, &root));
  EXPECT_EQ(root, "/~taro@example.jp/file/");
  registry.PutString(kUser, kSettingsKey, "Root", "/disk/hanako");
  ASSERT_TRUE(DiskRoot(settings, "taro", false, &root));
  EXPECT_EQ(root, "/disk/hanako");
}

}  // namespace
}  // namespace qbrk
