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

// Past what a 32-bit process can address the end used to be cut down to its low bits: the
// write landed at the start of the file and shortened it.
std::vector<int64_t> PositionsMemoryCannotHold() {
  std::vector<int64_t> positions;
  if (sizeof(size_t) < sizeof(uint64_t)) positions = {int64_t{1} << 32, int64_t{1} << 31};
  positions.push_back(INT64_MAX - 1);
  return positions;
}

TEST(MemoryFileSystemLimits, AnEndPastWhatMemoryHoldsIsAFullDiskAndChangesNothing) {
  FakeClock clock;
  MemoryFileSystem files(clock);
  const std::string path = "C:\\big.bin";
  for (int64_t at : PositionsMemoryCannotHold()) {
    SCOPED_TRACE(at);
    ASSERT_TRUE(files.WriteWholeFile(path, "abcdef"));
    std::unique_ptr<File> file;
    ASSERT_EQ(files.OpenFile(path, file_access::kRead | file_access::kWrite, 0,
                             Disposition::kOpenExisting, &file),
              sys_error::kSuccess);
    uint64_t position = 0;
    ASSERT_EQ(file->Seek(at, SeekOrigin::kBegin, &position), sys_error::kSuccess);
    EXPECT_EQ(position, static_cast<uint64_t>(at));
    EXPECT_EQ(file->Write("xy", 2), sys_error::kDiskFull);
    EXPECT_EQ(file->SetEnd(), sys_error::kDiskFull);
    uint64_t size = 0;
    EXPECT_EQ(file->GetSize(&size), sys_error::kSuccess);
    EXPECT_EQ(size, 6u);
    file.reset();
    std::string content;
    ASSERT_TRUE(files.ReadWholeFile(path, &content));
    EXPECT_EQ(content, "abcdef");
  }
}

}  // namespace
}  // namespace qbrk
