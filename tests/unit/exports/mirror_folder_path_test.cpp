#include "exports/mirror_folder_path.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace qbrk {
namespace {

TEST(HostBufferTest, PathsFitWithTheirTerminatorOrAreNotCopiedAtAll) {
  // Exactly the host's 260 bytes on the heap, so a byte more is an overflow the sanitizer sees.
  auto buffer = std::make_unique<char[]>(kHostPathBufferSize);
  const std::string longest = "C:\\" + std::string(256, 'a');
  ASSERT_EQ(longest.size(), 259u);
  EXPECT_TRUE(CopyToHostBuffer(longest, buffer.get()));
  EXPECT_EQ(std::string(buffer.get()), longest);
  EXPECT_FALSE(CopyToHostBuffer(longest + "b", buffer.get()));
  EXPECT_EQ(buffer[0], '\0');
}

}  // namespace
}  // namespace qbrk
