#include "shell/options_store.h"

#include <gtest/gtest.h>

#include "settings/settings.h"
#include "settings/twin_env.h"
#include "shell/startup_shortcut.h"

namespace qbrk {
namespace {

TEST(OptionsStoreTest, FreshInstallationLoadsDefaultsWithoutStartWithWindows) {
  testing::TwinEnv t;
  OptionsRecord record;
  record.mail_address = "stale";
  LoadOptions(t.env, &record);
  EXPECT_EQ(record.mail_address + record.password, "");
  EXPECT_EQ(std::vector<uint32_t>({record.remember_password, record.check_boot, record.sync_notify,
                                   record.finish_close, record.animation, record.start_with_windows,
                                   record.put_unit, record.use_ssl}),
            std::vector<uint32_t>({1, 1, 1, 0, 1, 0, 524288, 0}));
}

TEST(OptionsStoreTest, StoreAndLoadRoundTripLeavesAnimationAlone) {
  testing::TwinEnv t;
  std::string startup;
  ASSERT_EQ(t.shell.GetFolderPath(KnownFolder::kStartup, true, &startup), 0u);
  const OptionsRecord stored{"taro@example.jp", "secret", 1, 0, 0, 1, 0, 1, 131072, 1};
  StoreOptions(t.env, stored);
  EXPECT_EQ(t.registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "Animation"), nullptr);
  OptionsRecord loaded;
  LoadOptions(t.env, &loaded);
  EXPECT_EQ(loaded.mail_address + "/" + loaded.password, "taro@example.jp/secret");
  EXPECT_EQ(std::vector<uint32_t>({loaded.remember_password, loaded.check_boot, loaded.sync_notify,
                                   loaded.finish_close, loaded.animation, loaded.start_with_windows,
                                   loaded.put_unit, loaded.use_ssl}),
            std::vector<uint32_t>({1, 0, 0, 1, 1, 1, 131072, 1}));

  OptionsRecord forget = stored;
  forget.remember_password = 0;
  forget.start_with_windows = 0;
  StoreOptions(t.env, forget);
  EXPECT_FALSE(StartupShortcutExists(t.shell, t.files));
  LoadOptions(t.env, &loaded);
  EXPECT_EQ(loaded.mail_address + "/" + loaded.password, "taro@example.jp/");
  EXPECT_EQ(loaded.remember_password, 0u);
}

}  // namespace
}  // namespace qbrk
