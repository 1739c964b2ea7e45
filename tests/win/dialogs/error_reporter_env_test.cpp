// The error reporter with its real reach: the ERROR line in the current log file of a real
// temporary folder, and the status button opening the service's status page.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "diag/error_log.h"
#include "dialogs/report_error.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/fake_shell.h"
#include "platform/memory/memory_registry.h"
#include "platform/memory/memory_string_table.h"
#include "platform/memory/recording_host_window.h"
#include "platform/win32/win32_file_system.h"
#include "resource_ids.h"
#include "settings/settings.h"
#include "support/dialog_driver.h"

namespace qbrk {
namespace {

using test::Click;
using test::RunDialog;

std::string OwnTempFolder() {
  char temp[MAX_PATH] = {};
  GetTempPathA(MAX_PATH, temp);
  return std::string(temp) + "qbrk_log_" + std::to_string(GetCurrentProcessId()) + "\\";
}

// GetTempPathA reads TMP first: the log files are then this test's own.
class ErrorReporterEnvTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(CreateDirectoryA(folder_.c_str(), nullptr));
    GetEnvironmentVariableA("TMP", saved_tmp_, sizeof saved_tmp_);
    ASSERT_TRUE(SetEnvironmentVariableA("TMP", folder_.c_str()));
  }
  void TearDown() override {
    SetEnvironmentVariableA("TMP", saved_tmp_[0] ? saved_tmp_ : nullptr);
    SetLoggingLevel(kDefaultPutLog);
    DeleteFileA(current_.c_str());  // the only generation these tests make
    RemoveDirectoryA(folder_.c_str());
  }

  // Reports `code` and presses the box's first button, after `also` (in the box).
  uint32_t Report(ResultCode code, const std::function<void(HWND)>& also = {}) {
    return RunDialog([&] { return ReportError(env_, code, "", 0, nullptr); },
                     "Qbrook　エラーNo." + std::to_string(code),
                     [&](HWND box) {
                       if (also) also(box);
                       Click(box, IDC_MESSAGE_BUTTON1);
                     });
  }
  std::string CurrentLog() {
    std::ifstream in(current_, std::ios::binary);
    if (!in) return "<none>";
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }

  const std::string folder_ = OwnTempFolder();
  const std::string current_ = folder_ + "HVQbrook00.log";
  FakeClock clock_;
  char saved_tmp_[MAX_PATH] = {};
  Win32FileSystem files_;
  MemoryRegistry registry_;
  RecordingHostWindow host_;
  FakeShell shell_{files_};
  MemoryStringTable strings_;
  Env env_{files_, registry_, clock_, host_, shell_, strings_};
};

TEST_F(ErrorReporterEnvTest, ErrorLineGoesIntoTheRotatedFileAndTheStatusButtonOpensThePage) {
  registry_.PutString(RegistryRoot::kLocalMachine, kHomePageKey, "QuellanbrookEmergency",
                      "http://status.example/");
  registry_.PutString(RegistryRoot::kClassesRoot, ".htm", "", "htmlfile");
  registry_.PutString(RegistryRoot::kClassesRoot, "htmlfile\\shell\\open\\command", "",
                      "browser.exe \"%1\"");
  SetLoggingLevel(5);
  ASSERT_TRUE(RotateLogs(files_));
  ASSERT_EQ(CurrentLog(), "");

  EXPECT_EQ(Report(74, [](HWND box) { Click(box, IDC_MESSAGE_STATUS); }), 1u);
  EXPECT_EQ(CurrentLog(), "\"5/Mar/2002:9:7:3 +0900\" \"ERROR\" 74\r\n");
  EXPECT_EQ(shell_.command_lines(),
            std::vector<std::string>{"browser.exe \"http://status.example/\""});
}

TEST_F(ErrorReporterEnvTest, NothingIsLoggedWhenLoggingIsOffOrNoRotationMadeTheFile) {
  SetLoggingLevel(5);
  Report(95);
  EXPECT_EQ(CurrentLog(), "<none>") << "a line never creates the file";

  ASSERT_TRUE(RotateLogs(files_));
  SetLoggingLevel(0);  // PutLog 0
  Report(95);
  EXPECT_EQ(CurrentLog(), "");
}

}  // namespace
}  // namespace qbrk
