#include "settings/options.h"

#include <gtest/gtest.h>

#include "settings/settings.h"
#include "settings/twin_env.h"
#include "shell/startup_shortcut.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;

// A user's Startup folder, which exists on any installed system.
void MakeStartupFolder(testing::TwinEnv& t) {
  std::string folder;
  ASSERT_EQ(t.shell.GetFolderPath(KnownFolder::kStartup, true, &folder), 0u);
}

TEST(OptionsTest, AFreshInstallationLoadsTheDefaults) {
  testing::TwinEnv t;
  OptionsRecord record;
  record.mail_address = "stale";
  record.start_with_windows = 1;
  LoadOptions(t.env, &record);
  EXPECT_EQ(record.mail_address, "");
  EXPECT_EQ(record.password, "");
  EXPECT_EQ(record.remember_password, 1u);
  EXPECT_EQ(record.check_boot, 1u);
  EXPECT_EQ(record.sync_notify, 1u);
  EXPECT_EQ(record.finish_close, 0u);
  EXPECT_EQ(record.animation, 1u);
  EXPECT_EQ(record.start_with_windows, 0u) << "no start-up shortcut exists";
  EXPECT_EQ(record.put_unit, 524288u);
  EXPECT_EQ(record.use_ssl, 0u);
}

TEST(OptionsTest, StoredOptionsComeBackAndAnimationIsLeftAlone) {
  testing::TwinEnv t;
  MakeStartupFolder(t);
  OptionsRecord record;
  record.mail_address = "taro@example.jp";
  record.password = "secret";
  record.remember_password = 1;
  record.check_boot = 0;
  record.sync_notify = 0;
  record.finish_close = 1;
  record.animation = 0;
  record.start_with_windows = 1;
  record.put_unit = 131072;
  record.use_ssl = 1;
  StoreOptions(t.env, record);
  EXPECT_EQ(t.registry.Find(kUser, kSettingsKey, "Animation"), nullptr);
  EXPECT_TRUE(StartupShortcutExists(t.shell, t.files));

  OptionsRecord loaded;
  LoadOptions(t.env, &loaded);
  EXPECT_EQ(loaded.mail_address, "taro@example.jp");
  EXPECT_EQ(loaded.password, "secret");
  EXPECT_EQ(loaded.remember_password, 1u);
  EXPECT_EQ(loaded.check_boot, 0u);
  EXPECT_EQ(loaded.sync_notify, 0u);
  EXPECT_EQ(loaded.finish_close, 1u);
  EXPECT_EQ(loaded.animation, 1u);
  EXPECT_EQ(loaded.start_with_windows, 1u);
  EXPECT_EQ(loaded.put_unit, 131072u);
  EXPECT_EQ(loaded.use_ssl, 1u);
}

TEST(OptionsTest, ForgottenPasswordAndStartWithWindowsOffAreStoredAsSuch) {
  testing::TwinEnv t;
  MakeStartupFolder(t);
  OptionsRecord record;
  record.mail_address = "hanako@example.jp";
  record.password = "typed but not kept";
  record.start_with_windows = 1;
  StoreOptions(t.env, record);
  ASSERT_TRUE(StartupShortcutExists(t.shell, t.files));

  record.remember_password = 0;
  record.start_with_windows = 0;
  StoreOptions(t.env, record);
  EXPECT_FALSE(StartupShortcutExists(t.shell, t.files));
  Credentials stored;
  ASSERT_TRUE(Settings(t.registry).ReadCredentials(CredentialKind::kService, &stored));
  EXPECT_FALSE(stored.password_stored);

  OptionsRecord loaded;
  LoadOptions(t.env, &loaded);
  EXPECT_EQ(loaded.mail_address, "hanako@example.jp");
  EXPECT_EQ(loaded.password, "");
  EXPECT_EQ(loaded.remember_password, 0u);
  EXPECT_EQ(loaded.start_with_windows, 0u);
}

}  // namespace
}  // namespace qbrk
