#include "shell/browser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings/settings.h"
#include "settings/twin_env.h"
#include "shell/home_page.h"
#include "shell/updater.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kMachine = RegistryRoot::kLocalMachine;
using Lines = std::vector<std::string>;

TEST(BrowserTest, UrlReplacesEveryPercentOneOrIsAppendedAfterABlank) {
  EXPECT_EQ(BrowserCommandLine("\"C:\\b.exe\" -nohome \"%1\"", "http://a/"),
            "\"C:\\b.exe\" -nohome \"http://a/\"");
  EXPECT_EQ(BrowserCommandLine("b.exe %1 --again=%1", "u"), "b.exe u --again=u");
  EXPECT_EQ(BrowserCommandLine("C:\\b.exe", "http://a/"), "C:\\b.exe http://a/");
  // The URL's own "%1" (an escape) is never taken for a placeholder.
  EXPECT_EQ(BrowserCommandLine("b.exe %1", "http://a/x%1Fy"), "b.exe http://a/x%1Fy");
}

TEST(BrowserTest, RunsOnlyARegisteredBrowserOnANonEmptyUrl) {
  testing::TwinEnv t;
  EXPECT_FALSE(OpenUrlInBrowser(t.registry, t.shell, "http://a/"));
  t.registry.PutString(RegistryRoot::kClassesRoot, ".htm", "", "htmlfile");
  EXPECT_FALSE(OpenUrlInBrowser(t.registry, t.shell, "http://a/"));
  t.registry.PutString(RegistryRoot::kClassesRoot, "htmlfile\\shell\\open\\command", "",
                       "\"C:\\Web\\web.exe\" \"%1\"");
  EXPECT_FALSE(OpenUrlInBrowser(t.registry, t.shell, nullptr));
  EXPECT_FALSE(OpenUrlInBrowser(t.registry, t.shell, ""));
  EXPECT_TRUE(t.shell.command_lines().empty());
  EXPECT_TRUE(OpenUrlInBrowser(t.registry, t.shell, "http://a/"));
  EXPECT_EQ(t.shell.command_lines(), Lines{"\"C:\\Web\\web.exe\" \"http://a/\""});

  // The home page command opens the named page, and answers 1 even with nothing to open.
  EXPECT_EQ(ViewHomePage(t.env, kEmergencyPageValue), 1u);
  t.registry.PutString(kMachine, kHomePageKey, kEmergencyPageValue, "http://status/");
  t.registry.PutString(kMachine, kHomePageKey, "Empty", "");
  EXPECT_EQ(ViewHomePage(t.env, "Empty"), 1u);
  EXPECT_EQ(ViewHomePage(t.env, kEmergencyPageValue), 1u);
  EXPECT_EQ(t.shell.command_lines(), (Lines{"\"C:\\Web\\web.exe\" \"http://a/\"",
                                            "\"C:\\Web\\web.exe\" \"http://status/\""}));

  EXPECT_TRUE(StartMailProgram(t.shell));
  EXPECT_EQ(t.shell.shell_opens(),
            (std::vector<std::pair<std::string, std::string>>{{"open", "mailto:"}}));
}

TEST(UpdaterTest, RunsTheUpdaterFromTheInstallationFolder) {
  testing::TwinEnv t;
  EXPECT_EQ(RunUpdater(t.env), 0u);
  t.registry.PutString(kMachine, kSetupFolderKey, kSetupFolderValue, "C:\\Program Files\\Q");
  EXPECT_EQ(RunUpdater(t.env), 1u);
  t.registry.PutString(kMachine, kSetupFolderKey, kSetupFolderValue, "D:\\Q\\");
  t.shell.set_process_starts(false);
  EXPECT_EQ(RunUpdater(t.env), 0u);
  EXPECT_EQ(t.shell.processes(),
            (Lines{"\"C:\\Program Files\\Q\\hvqbrksu.exe\" /u", "\"D:\\Q\\hvqbrksu.exe\" /u"}));
}

}  // namespace
}  // namespace qbrk
