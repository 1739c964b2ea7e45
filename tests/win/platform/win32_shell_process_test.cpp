// Starting programs: the waiting start returns only after the program has ended, and a
// program that does not exist is reported, never waited for.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/win32/win32_file_system.h"
#include "platform/win32/win32_shell.h"

namespace qbrk {
namespace {

class Win32ShellProcessTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(files_.TempFolder(&marker_), sys_error::kSuccess);
    marker_ += "qbrk-shell-process-" + std::to_string(GetCurrentProcessId()) + ".txt";
    files_.RemoveFile(marker_);
  }
  void TearDown() override { files_.RemoveFile(marker_); }

  bool MarkerExists() {
    uint32_t attributes = 0;
    return files_.GetAttributes(marker_, &attributes) == sys_error::kSuccess;
  }

  Win32FileSystem files_;
  Win32Shell shell_;
  std::string marker_;
};

TEST_F(Win32ShellProcessTest, RunProcessAndWaitReturnsAfterTheProgramHasEnded) {
  // The program pauses before it writes the marker; only a real wait sees the marker.
  const std::string command = "cmd.exe /c ping -n 2 127.0.0.1 >nul & echo done>\"" + marker_ + "\"";
  ASSERT_TRUE(shell_.RunProcessAndWait(command));
  EXPECT_TRUE(MarkerExists());
  EXPECT_FALSE(shell_.RunProcessAndWait("C:\\no\\such\\program.exe"));
}

TEST_F(Win32ShellProcessTest, RunCommandLineStartsWithoutWaiting) {
  ASSERT_TRUE(shell_.RunCommandLine("cmd.exe /c echo done>\"" + marker_ + "\""));
  for (int i = 0; i < 200 && !MarkerExists(); ++i)
    Sleep(50);
  EXPECT_TRUE(MarkerExists());
  EXPECT_FALSE(shell_.RunCommandLine("C:\\no\\such\\program.exe"));
}

TEST_F(Win32ShellProcessTest, ShellOpenReportsAFileThatDoesNotExist) {
  EXPECT_FALSE(shell_.ShellOpen("open", "C:\\no\\such\\document.qbrk-none"));
}

}  // namespace
}  // namespace qbrk
