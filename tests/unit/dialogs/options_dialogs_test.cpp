#include "dialogs/options/option_rules.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dialogs/options/options_entry.h"
#include "platform/memory/recording_host_window.h"
#include "settings/settings.h"
#include "settings/twin_env.h"
#include "shell/startup_shortcut.h"

namespace qbrk {
namespace {

TEST(UploadUnitTest, EachListedUnitSelectsItsOwnEntryAndComesBack) {
  ASSERT_EQ(kUploadUnitChoices.size(), 5u);
  const uint32_t listed[] = {0x20000, 0x40000, 0x80000, 0x100000, 0};
  const std::string texts[] = {"128KB", "256KB", "512KB", "1MB", "制限なし"};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(UploadUnitIndex(listed[i]), i) << listed[i];
    EXPECT_EQ(UploadUnitAt(i), listed[i]) << i;
    EXPECT_EQ(kUploadUnitChoices[i].text, texts[i]);
  }
}

TEST(UploadUnitTest, UnlistedUnitsAndSelectionsFallBackTo512KB) {
  for (uint32_t odd : {300000u, 1u, 0x20001u, 0xFFFFFFFFu, 0x200000u})
    EXPECT_EQ(UploadUnitIndex(odd), 2) << odd;
  for (int selection : {-1, 5, 1000})
    EXPECT_EQ(UploadUnitAt(selection), 0x80000u) << selection;
}

TEST(InitialFocusTest, ForgottenPasswordFirstThenMissingAddress) {
  EXPECT_EQ(ChooseInitialFocus("", 0), InitialFocus::kPassword);
  EXPECT_EQ(ChooseInitialFocus("taro@example.jp", 0), InitialFocus::kPassword);
  EXPECT_EQ(ChooseInitialFocus("", 1), InitialFocus::kMailAddress);
  EXPECT_EQ(ChooseInitialFocus("taro@example.jp", 1), InitialFocus::kDialogDefault);
  EXPECT_EQ(ChooseInitialFocus("taro@example.jp", 7), InitialFocus::kDialogDefault);
}

TEST(AnimationNoticeTest, PostsOnWithOneAndOffWithZero) {
  RecordingHostWindow host;
  NotifyAnimation(host, 1);
  NotifyAnimation(host, 0);
  NotifyAnimation(host, 5);
  using C = RecordingHostWindow::Command;
  EXPECT_EQ(host.commands(),
            (std::vector<C>{{false, 32783, 1}, {false, 32782, 0}, {false, 32783, 1}}));
  host.clear();
  host.set_present(false);
  NotifyAnimation(host, 1);  // no host window: nothing, and no failure
  EXPECT_TRUE(host.commands().empty());
}

TEST(OptionsEntryTest, StoresOnlyWhenTheDialogEndsWithOk) {
  testing::TwinEnv t;
  t.shell.set_program_path("C:\\Program Files\\Qbrook\\HVQBRKUT.EXE");
  std::string startup;
  ASSERT_EQ(t.shell.GetFolderPath(KnownFolder::kStartup, true, &startup), 0u);
  Settings settings(t.env.registry, t.env.clock);
  OptionsRecord seen;
  auto edit_to = [&seen](uint32_t ended) {
    return [&seen, ended](OptionsRecord* record) {
      seen = *record;
      record->mail_address = "hanako@example.jp";
      record->password = "pw";
      record->sync_notify = 0;
      record->start_with_windows = 1;
      record->put_unit = 0;
      return ended;
    };
  };

  EXPECT_EQ(RunOptionsEntry(t.env, edit_to(2)), 2u);  // cancelled: nothing written
  EXPECT_EQ(seen.sync_notify, 1u);
  EXPECT_EQ(t.registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "Info"), nullptr);
  EXPECT_EQ(t.registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "SyncNotify"), nullptr);
  EXPECT_FALSE(StartupShortcutExists(t.shell, t.files));
  EXPECT_EQ(RunOptionsEntry(t.env, edit_to(0)), 0u);  // never shown: nothing written either
  EXPECT_EQ(t.registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "SyncNotify"), nullptr);

  EXPECT_EQ(RunOptionsEntry(t.env, edit_to(1)), 1u);
  EXPECT_EQ(settings.SyncNotify(), 0u);
  EXPECT_EQ(settings.PutUnit(), 0u);
  EXPECT_TRUE(StartupShortcutExists(t.shell, t.files));
  // The next opening shows what was stored.
  RunOptionsEntry(t.env, edit_to(2));
  EXPECT_EQ(seen.mail_address + "/" + seen.password, "hanako@example.jp/pw");
  EXPECT_EQ(seen.sync_notify, 0u);
  EXPECT_EQ(seen.put_unit, 0u);
  EXPECT_EQ(seen.start_with_windows, 1u);
}

}  // namespace
}  // namespace qbrk
