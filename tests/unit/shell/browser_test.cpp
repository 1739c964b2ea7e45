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

constexpr RegistryRoot kClasses = RegistryRoot::kClassesRoot;
constexpr RegistryRoot kMachine = RegistryRoot::kLocalMachine;
using Lines = std::vector<std::string>;

TEST(BrowserCommandLineTest, UrlReplacesEveryPercentOneOrIsAppended) {
  EXPECT_EQ(BrowserCommandLine("\"C:\\b\\browser.exe\" -nohome \"%1\"", "http://a/"),
            "\"C:\\b\\browser.exe\" -nohome \"http://a/\"");
  EXPECT_EQ(BrowserCommandLine("b.exe %1 --fallback=%1", "http://a/"),
            "b.exe http://a/ --fallback=http://a/");
  EXPECT_EQ(BrowserCommandLine("C:\\b\\browser.exe", "http://a/"), "C:\\b\\browser.exe http://a/");
  // The URL's own "%1" (an escape) is not taken for a placeholder.
  EXPECT_EQ(BrowserCommandLine("b.exe %1", "http://a/x%1Fy"), "b.exe http://a/x%1Fy");
  EXPECT_EQ(BrowserCommandLine("b.exe", "http://a/x%1Fy"), "b.exe http://a/x%1Fy");
}

class OpenUrlTest : public ::testing::Test {
 protected:
  void RegisterBrowser(const std::string& command) {
    t_.registry.PutString(kClasses, ".htm", "", "htmlfile");
    t_.registry.PutString(kClasses, "htmlfile\\shell\\open\\command", "", command);
  }
  testing::TwinEnv t_;
};

TEST_F(OpenUrlTest, RunsTheRegisteredBrowser) {
  RegisterBrowser("\"C:\\Web\\web.exe\" \"%1\"");
  EXPECT_TRUE(OpenUrlInBrowser(t_.registry, t_.shell, "http://example.test/"));
  EXPECT_EQ(t_.shell.command_lines(), Lines{"\"C:\\Web\\web.exe\" \"http://example.test/\""});
}

TEST_F(OpenUrlTest, NoUrlOrNoRegistrationRunsNothing) {
  EXPECT_FALSE(OpenUrlInBrowser(t_.registry, t_.shell, "http://example.test/"));
  t_.registry.PutString(kClasses, ".htm", "", "htmlfile");
  EXPECT_FALSE(OpenUrlInBrowser(t_.registry, t_.shell, "http://example.test/"));
  t_.registry.PutString(kClasses, "htmlfile\\shell\\open\\command", "", "");
  EXPECT_FALSE(OpenUrlInBrowser(t_.registry, t_.shell, "http://example.test/"));
  t_.registry.PutString(kClasses, ".htm", "", "");
  RegisterBrowser("web.exe");
  EXPECT_FALSE(OpenUrlInBrowser(t_.registry, t_.shell, nullptr));
  EXPECT_FALSE(OpenUrlInBrowser(t_.registry, t_.shell, ""));
  EXPECT_TRUE(t_.shell.command_lines().empty());
}

TEST_F(OpenUrlTest, MailProgramIsOpenedThroughMailto) {
  EXPECT_TRUE(StartMailProgram(t_.shell));
  ASSERT_EQ(t_.shell.shell_opens().size(), 1u);
  EXPECT_EQ(t_.shell.shell_opens()[0].first, "open");
  EXPECT_EQ(t_.shell.shell_opens()[0].second, "mailto:");
}

TEST_F(OpenUrlTest, HomePageOpensTheNamedUrlAndAlwaysAnswersOne) {
  RegisterBrowser("web.exe %1");
  EXPECT_EQ(ViewHomePage(t_.env, kEmergencyPageValue), 1u);  // no key at all
  t_.registry.PutString(kMachine, kHomePageKey, "Empty", "");
  EXPECT_EQ(ViewHomePage(t_.env, "Empty"), 1u);
  EXPECT_TRUE(t_.shell.command_lines().empty());

  t_.registry.PutString(kMachine, kHomePageKey, kEmergencyPageValue, "http://status.example.test/");
  EXPECT_EQ(ViewHomePage(t_.env, kEmergencyPageValue), 1u);
  EXPECT_EQ(t_.shell.command_lines(), Lines{"web.exe http://status.example.test/"});
}

TEST(UpdaterTest, RunsTheUpdaterFromTheInstallationFolder) {
  testing::TwinEnv t;
  EXPECT_EQ(RunUpdater(t.env), 0u);
  EXPECT_TRUE(t.shell.processes().empty());

  t.registry.PutString(kMachine, kSetupFolderKey, "qbrkClientTool", "C:\\Program Files\\Qbrook");
  EXPECT_EQ(RunUpdater(t.env), 1u);
  t.registry.PutString(kMachine, kSetupFolderKey, "qbrkClientTool", "D:\\Q\\");
  t.shell.set_process_starts(false);
  EXPECT_EQ(RunUpdater(t.env), 0u);
  EXPECT_EQ(t.shell.processes(), (Lines{"\"C:\\Program Files\\Qbrook\\hvqbrksu.exe\" /u",
                                        "\"D:\\Q\\hvqbrksu.exe\" /u"}));
}

}  // namespace
}  // namespace qbrk
