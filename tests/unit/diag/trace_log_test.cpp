#include "diag/trace_log.h"

#include <gtest/gtest.h>

#include <string>

#include "diag/error_log.h"
#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_file_system.h"

namespace qbrk {
namespace {

constexpr char kCurrent[] = "C:\\TEMP\\HVQbrook00.log";

class TraceLogTest : public ::testing::Test {
 protected:
  TraceLogTest() : saved_level_(LoggingLevel()) { SetLoggingLevel(5); }
  ~TraceLogTest() override { SetLoggingLevel(saved_level_); }

  std::string Current() const {
    std::string content;
    return files_.ReadWholeFile(kCurrent, &content) ? content : "<missing>";
  }

  FakeClock clock_;
  MemoryFileSystem files_{clock_};
  uint32_t saved_level_;
};

const std::string kRequest =
    "PROPFIND /~taro/file/ HTTP/1.1\r\nAuthorization: Basic dGFybzpwdw==\r\nDepth: 1\r\n\r\n";
const std::string kResponse = "HTTP/1.1 207 Multi-Status\r\nX-HV-VFS-Version: 2\r\n\r\n";

TEST_F(TraceLogTest, BlockBytesFollowTheLogLines) {
  ASSERT_TRUE(RotateLogs(files_));
  ASSERT_TRUE(WriteLogLine(files_, clock_, 12029, LogKind::kException));
  WriteTraceExchange(files_, clock_, kRequest, kResponse);
  const std::string rule(30, '-');
  EXPECT_EQ(Current(),
            "\"5/Mar/2002:9:7:3 +0900\" \"EXCEPTION\" 12029\r\n"
            "\"5/Mar/2002:9:7:3 +0900\"\r\n" +
                rule + " Request " + rule + "\r\n" + kRequest + rule + " Response " + rule +
                "\r\n" + kResponse);
}

TEST_F(TraceLogTest, NothingIsWrittenWhenLoggingIsOffOrTheFileIsMissing) {
  WriteTraceExchange(files_, clock_, kRequest, kResponse);
  EXPECT_EQ(Current(), "<missing>") << "the trace never creates the current file";

  ASSERT_TRUE(files_.WriteWholeFile(kCurrent, "before\r\n"));
  SetLoggingLevel(0);
  WriteTraceExchange(files_, clock_, kRequest, kResponse);
  EXPECT_EQ(Current(), "before\r\n");
}

}  // namespace
}  // namespace qbrk
