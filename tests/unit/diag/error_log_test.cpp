#include "diag/error_log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_file_system.h"

namespace qbrk {
namespace {

using Op = MemoryFileSystem::Op;

std::string Gen(int generation) {
  return "C:\\TEMP\\HVQbrook0" + std::to_string(generation) + ".log";
}

// The logging level is process-wide: every test sets its own and puts the old one back.
class ErrorLogTest : public ::testing::Test {
 protected:
  ErrorLogTest() : saved_level_(LoggingLevel()) {}
  ~ErrorLogTest() override { SetLoggingLevel(saved_level_); }

  std::string Content(const std::string& path) const {
    std::string content;
    return files_.ReadWholeFile(path, &content) ? content : "<missing>";
  }
  std::vector<std::string> Logs() const { return files_.List("C:\\TEMP\\"); }

  FakeClock clock_;
  MemoryFileSystem files_{clock_};
  uint32_t saved_level_;
};

TEST_F(ErrorLogTest, LogPathResults) {
  SetLoggingLevel(5);
  std::string path;
  ASSERT_EQ(LogPath(files_, 0, &path), 0u);
  EXPECT_EQ(path, "C:\\TEMP\\HVQbrook00.log");
  ASSERT_EQ(LogPath(files_, 4, &path), 0u);
  EXPECT_EQ(path, "C:\\TEMP\\HVQbrook04.log");
  EXPECT_EQ(LogPath(files_, 5, &path), 3u);
  EXPECT_EQ(LogPath(files_, 0, nullptr), 3u);
  EXPECT_EQ(LogPath(files_, 0, &path, 0), 3u);
  // 22 bytes plus the terminator.
  EXPECT_EQ(LogPath(files_, 0, &path, 23), 0u);
  EXPECT_EQ(LogPath(files_, 0, &path, 22), 2u);

  SetLoggingLevel(0);
  EXPECT_EQ(LogPath(files_, 0, &path), 3u);
  SetLoggingLevel(200);
  EXPECT_EQ(LogPath(files_, 99, &path), 0u);
  EXPECT_EQ(path, "C:\\TEMP\\HVQbrook99.log");
  EXPECT_EQ(LogPath(files_, 100, &path), 500u);

  files_.set_temp_folder("D:\\tmp");  // no trailing backslash
  ASSERT_EQ(LogPath(files_, 1, &path), 0u);
  EXPECT_EQ(path, "D:\\tmp\\HVQbrook01.log");
  files_.set_fault([](Op op, const std::string&) {
    return op == Op::kTempFolder ? sys_error::kAccessDenied : sys_error::kSuccess;
  });
  EXPECT_EQ(LogPath(files_, 1, &path), 2u);
}

TEST_F(ErrorLogTest, LevelZeroCreatesNothingAndWritesNothing) {
  SetLoggingLevel(0);
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_FALSE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  EXPECT_TRUE(Logs().empty());
}

TEST_F(ErrorLogTest, LevelOneKeepsOnlyAFreshCurrentFile) {
  SetLoggingLevel(1);
  ASSERT_TRUE(files_.WriteWholeFile(Gen(0), "previous job\r\n"));
  EXPECT_TRUE(RotateLogs(files_));
  EXPECT_EQ(Logs(), std::vector<std::string>{Gen(0)});
  EXPECT_EQ(Content(Gen(0)), "");
}

TEST_F(ErrorLogTest, LevelThreeShiftsGenerationsAndDropsTheOldest) {
  SetLoggingLevel(3);
  ASSERT_TRUE(files_.WriteWholeFile(Gen(0), "a"));
  ASSERT_TRUE(files_.WriteWholeFile(Gen(1), "b"));
  ASSERT_TRUE(files_.WriteWholeFile(Gen(2), "c"));
  ASSERT_TRUE(RotateLogs(files_));
  EXPECT_EQ(Logs(), (std::vector<std::string>{Gen(0), Gen(1), Gen(2)}));
  EXPECT_EQ(Content(Gen(0)), "");
  EXPECT_EQ(Content(Gen(1)), "a");
  EXPECT_EQ(Content(Gen(2)), "b");

  // With a gap, each file still moves down by one.
  ASSERT_TRUE(files_.RemoveFile(Gen(1)) == 0);
  ASSERT_TRUE(files_.WriteWholeFile(Gen(0), "x"));
  ASSERT_TRUE(RotateLogs(files_));
  EXPECT_EQ(Content(Gen(0)), "");
  EXPECT_EQ(Content(Gen(1)), "x");
  EXPECT_EQ(Content(Gen(2)), "<missing>");
}

TEST_F(ErrorLogTest, ThreeDigitGenerationsStopTheRotationBeforeItTouchesAnything) {
  SetLoggingLevel(101);
  ASSERT_TRUE(files_.WriteWholeFile(Gen(0), "kept\r\n"));
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_EQ(Logs(), std::vector<std::string>{Gen(0)});
  EXPECT_EQ(LoggingLevel(), 101u);
  EXPECT_TRUE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  EXPECT_EQ(Content(Gen(0)), "kept\r\n\"5/Mar/2002:9:7:3 +0900\" \"ERROR\" 74\r\n");

  files_.RemoveFile(Gen(0));
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_TRUE(Logs().empty());
}

TEST_F(ErrorLogTest, AFailedRenameEndsTheRotationAndLeavesTheRestAsItWas) {
  SetLoggingLevel(3);
  ASSERT_TRUE(files_.WriteWholeFile(Gen(0), "a"));
  ASSERT_TRUE(files_.WriteWholeFile(Gen(1), "b"));
  files_.set_fault([](Op op, const std::string& path) {
    return op == Op::kRename && path.find("01") != std::string::npos ? sys_error::kSharingViolation
                                                                     : sys_error::kSuccess;
  });
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_EQ(Content(Gen(0)), "a");
  EXPECT_EQ(Content(Gen(1)), "b");
  EXPECT_EQ(LoggingLevel(), 3u) << "only a failed creation switches logging off";
}

TEST_F(ErrorLogTest, ACurrentFileThatCannotBeCreatedSwitchesLoggingOff) {
  SetLoggingLevel(2);
  files_.set_fault([](Op op, const std::string&) {
    return op == Op::kOpen ? sys_error::kAccessDenied : sys_error::kSuccess;
  });
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_EQ(LoggingLevel(), 0u);
  files_.set_fault(nullptr);
  EXPECT_FALSE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  EXPECT_TRUE(Logs().empty());
}

TEST_F(ErrorLogTest, LinesHaveTheExactFormatAndAreAppended) {
  SetLoggingLevel(5);
  ASSERT_TRUE(RotateLogs(files_));
  EXPECT_TRUE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  // The zone text stays +0900 whatever the local offset is.
  clock_.SetLocalOffsetMinutes(-300);
  clock_.Advance(60 * 60 * 1000);
  EXPECT_TRUE(WriteLogLine(files_, clock_, 12029, LogKind::kException));
  EXPECT_TRUE(WriteLogLine(files_, clock_, 0xFFFFFFFF, static_cast<LogKind>(7)));
  EXPECT_EQ(Content(Gen(0)),
            "\"5/Mar/2002:9:7:3 +0900\" \"ERROR\" 74\r\n"
            "\"5/Mar/2002:5:7:3 +0900\" \"EXCEPTION\" 12029\r\n"
            "\"5/Mar/2002:5:7:3 +0900\" \"EXCEPTION\" -1\r\n");
}

TEST_F(ErrorLogTest, ACurrentFileDeletedByHandDropsTheLine) {
  SetLoggingLevel(5);
  ASSERT_TRUE(RotateLogs(files_));
  ASSERT_EQ(files_.RemoveFile(Gen(0)), 0u);
  EXPECT_FALSE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  EXPECT_TRUE(Logs().empty());
}

TEST(LogTimeStampTest, FieldsAreNotPaddedAndImpossibleMonthsAreEmpty) {
  CalendarTime time;
  time.year = 2002;
  time.month = 3;
  time.day = 1;
  time.hour = 9;
  time.minute = 5;
  time.second = 3;
  EXPECT_EQ(LogTimeStamp(time), "1/Mar/2002:9:5:3 +0900");
  time.month = 12;
  time.day = 31;
  time.hour = 23;
  time.minute = 59;
  time.second = 59;
  EXPECT_EQ(LogTimeStamp(time), "31/Dec/2002:23:59:59 +0900");
  time.month = 0;
  EXPECT_EQ(LogTimeStamp(time), "31//2002:23:59:59 +0900");
  time.month = 13;
  EXPECT_EQ(LogTimeStamp(time), "31//2002:23:59:59 +0900");
}

}  // namespace
}  // namespace qbrk
