// What the in-memory file system does beyond the Win32 contract: its files live in this
// process's memory, so a file end it cannot hold is a full disk.
#include "platform/memory/memory_file_system.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/memory/fake_clock.h"
#include "platform/sys_error.h"

namespace qbrk {
namespace {

// Positions past what a vector holds in a 32-bit build (2 GiB): the new end used to be cut
// down to its low bits there, so a write at 4 GiB landed at the start of the file and
// shortened it.
std::vector<int64_t> PositionsPastA32BitVector() {
  if (sizeof(size_t) == sizeof(uint64_t)) return {};
  return {int64_t{1} << 32, int64_t{1} << 31};
}

class MemoryFileSystemLimits : public ::testing::Test {
 protected:
  // Opens a 6-byte file for reading and writing at `at`.
  std::unique_ptr<File> OpenAt(int64_t at) {
    EXPECT_TRUE(files_.WriteWholeFile(kPath, "abcdef"));
    std::unique_ptr<File> file;
    EXPECT_EQ(files_.OpenFile(kPath, file_access::kRead | file_access::kWrite, 0,
                              Disposition::kOpenExisting, &file),
              sys_error::kSuccess);
    uint64_t position = 0;
    EXPECT_EQ(file->Seek(at, SeekOrigin::kBegin, &position), sys_error::kSuccess);
    EXPECT_EQ(position, static_cast<uint64_t>(at));
    return file;
  }
  void ExpectUnchanged(File& file) {
    uint64_t size = 0;
    EXPECT_EQ(file.GetSize(&size), sys_error::kSuccess);
    EXPECT_EQ(size, 6u);
    std::string content;
    ASSERT_TRUE(files_.ReadWholeFile(kPath, &content));
    EXPECT_EQ(content, "abcdef");
  }

  static constexpr char kPath[] = "C:\\big.bin";
  FakeClock clock_;
  MemoryFileSystem files_{clock_};
};

TEST_F(MemoryFileSystemLimits, AWritePastWhatMemoryHoldsIsAFullDiskAndChangesNothing) {
  std::vector<int64_t> positions = PositionsPastA32BitVector();
  positions.push_back(INT64_MAX - 1);  // past what any vector holds, once written
  for (int64_t at : positions) {
    SCOPED_TRACE(at);
    std::unique_ptr<File> file = OpenAt(at);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->Write("xy", 2), sys_error::kDiskFull);
    ExpectUnchanged(*file);
  }
}

TEST_F(MemoryFileSystemLimits, SetEndPastWhatMemoryHoldsIsAFullDiskAndChangesNothing) {
  const std::vector<int64_t> positions = PositionsPastA32BitVector();
  if (positions.empty()) GTEST_SKIP() << "a 64-bit vector holds every position a seek reaches";
  for (int64_t at : positions) {
    SCOPED_TRACE(at);
    std::unique_ptr<File> file = OpenAt(at);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->SetEnd(), sys_error::kDiskFull);
    ExpectUnchanged(*file);
  }
}

}  // namespace
}  // namespace qbrk
