#include "diag/error_log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "diag/trace_log.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_file_system.h"

namespace qbrk {
namespace {

using Op = MemoryFileSystem::Op;
using Paths = std::vector<std::string>;
std::string Gen(int g) {
  return "C:\\TEMP\\HVQbrook0" + std::to_string(g) + ".log";
}

// The logging level is process-wide: each test sets its own and puts the old one back.
class ErrorLogTest : public ::testing::Test {
 protected:
  ~ErrorLogTest() override { SetLoggingLevel(saved_level_); }
  std::string Content(int g) const {
    std::string content;
    return files_.ReadWholeFile(Gen(g), &content) ? content : "<missing>";
  }
  void Fill(int count) {
    for (int g = 0; g < count; ++g)
      ASSERT_TRUE(files_.WriteWholeFile(Gen(g), {char('a' + g)}));
  }
  uint32_t saved_level_ = LoggingLevel();
  FakeClock clock_;
  MemoryFileSystem files_{clock_};
};

TEST_F(ErrorLogTest, LogPathResults) {
  SetLoggingLevel(5);
  std::string path;
  ASSERT_EQ(LogPath(files_, 4, &path), 0u);
  EXPECT_EQ(path, Gen(4));
  EXPECT_EQ(LogPath(files_, 5, &path), 3u);
  EXPECT_EQ(LogPath(files_, 0, nullptr), 3u);
  EXPECT_EQ(LogPath(files_, 0, &path, 23), 0u);  // 22 bytes and the terminator
  EXPECT_EQ(LogPath(files_, 0, &path, 22), 2u);
  SetLoggingLevel(200);
  EXPECT_EQ(LogPath(files_, 100, &path), 500u);
  files_.set_temp_folder("D:\\tmp");
  ASSERT_EQ(LogPath(files_, 99, &path), 0u);
  EXPECT_EQ(path, "D:\\tmp\\HVQbrook99.log");
  files_.set_fault([](Op op, const std::string&) { return op == Op::kTempFolder ? 5u : 0u; });
  EXPECT_EQ(LogPath(files_, 1, &path), 2u);
}

TEST_F(ErrorLogTest, RotationByLevel) {
  SetLoggingLevel(0);
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_FALSE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  EXPECT_TRUE(files_.List("C:\\TEMP\\").empty());

  SetLoggingLevel(1);
  Fill(1);
  EXPECT_TRUE(RotateLogs(files_));
  EXPECT_EQ(files_.List("C:\\TEMP\\"), Paths{Gen(0)});
  EXPECT_EQ(Content(0), "");

  SetLoggingLevel(3);
  Fill(3);
  ASSERT_TRUE(RotateLogs(files_));
  EXPECT_EQ(Content(0) + "|" + Content(1) + "|" + Content(2), "|a|b");

  // Three digits: the first generation formed fails, nothing moves or is created, and
  // lines still go into an existing current file.
  SetLoggingLevel(101);
  Fill(1);
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_EQ(Content(0) + "|" + Content(1) + "|" + Content(2), "a|a|b");
  EXPECT_TRUE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  EXPECT_EQ(LoggingLevel(), 101u);
}

TEST_F(ErrorLogTest, FailuresEndTheRotationAndOnlyAFailedCreationSwitchesLoggingOff) {
  SetLoggingLevel(3);
  Fill(2);
  files_.set_fault([](Op op, const std::string& path) {
    return op == Op::kRename && path == Gen(1) ? 32u : 0u;
  });
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_EQ(Content(0) + Content(1), "ab");
  EXPECT_EQ(LoggingLevel(), 3u);
  files_.set_fault([](Op op, const std::string&) { return op == Op::kOpen ? 5u : 0u; });
  ASSERT_EQ(files_.RemoveFile(Gen(1)), 0u);
  EXPECT_FALSE(RotateLogs(files_));
  EXPECT_EQ(LoggingLevel(), 0u);
}

TEST_F(ErrorLogTest, LinesAndTraceBlocksHaveExactBytesAndNeedTheRotatedFile) {
  SetLoggingLevel(5);
  ASSERT_TRUE(RotateLogs(files_));
  EXPECT_TRUE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  clock_.SetLocalOffsetMinutes(-300);  // the zone text stays +0900
  clock_.Advance(3600 * 1000);
  EXPECT_TRUE(WriteLogLine(files_, clock_, 0xFFFFFFFF, LogKind::kException));
  WriteTraceExchange(files_, clock_, "GET / HTTP/1.1\r\n\r\n", "HTTP/1.1 200 OK\r\n\r\n");
  const std::string rule(30, '-');
  EXPECT_EQ(Content(0),
            "\"5/Mar/2002:9:7:3 +0900\" \"ERROR\" 74\r\n"
            "\"5/Mar/2002:5:7:3 +0900\" \"EXCEPTION\" -1\r\n"
            "\"5/Mar/2002:5:7:3 +0900\"\r\n" +
                rule + " Request " + rule + "\r\nGET / HTTP/1.1\r\n\r\n" + rule + " Response " +
                rule + "\r\nHTTP/1.1 200 OK\r\n\r\n");

  // A current file deleted by hand is not re-created by a line or a trace.
  ASSERT_EQ(files_.RemoveFile(Gen(0)), 0u);
  EXPECT_FALSE(WriteLogLine(files_, clock_, 74, LogKind::kError));
  WriteTraceExchange(files_, clock_, "GET", "200");
  EXPECT_EQ(Content(0), "<missing>");
  // Logging off: an existing file gets no trace.
  ASSERT_TRUE(files_.WriteWholeFile(Gen(0), "x"));
  SetLoggingLevel(0);
  WriteTraceExchange(files_, clock_, "GET", "200");
  EXPECT_EQ(Content(0), "x");
}

TEST(LogTimeStampTest, FieldsAreNotPaddedAndImpossibleMonthsAreEmpty) {
  CalendarTime time{2002, 3, 5, 1, 9, 5, 3, 0};
  EXPECT_EQ(LogTimeStamp(time), "1/Mar/2002:9:5:3 +0900");
  time.month = 13;
  EXPECT_EQ(LogTimeStamp(time), "1//2002:9:5:3 +0900");
}

}  // namespace
}  // namespace qbrk
