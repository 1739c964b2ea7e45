#include "exports/mirror_folder_path.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "settings/settings.h"
#include "settings/twin_env.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr char kDefaultMirror[] = "C:\\Users\\taro\\Documents\\My Quellanbrook";

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

class MirrorFolderExportTest : public ::testing::Test {
 protected:
  uint32_t Get(bool repair, char* buffer) {
    return MirrorFolderPathIntoBuffer(t_.env, buffer, repair, [this](const std::string& gone) {
      asked_.push_back(gone);
      return false;
    });
  }
  testing::TwinEnv t_;
  std::vector<std::string> asked_;
  char buffer_[kHostPathBufferSize] = "stale";
};

TEST_F(MirrorFolderExportTest, FirstCallMakesTheDefaultFolderAndLaterCallsFindIt) {
  EXPECT_EQ(Get(false, nullptr), 0u);
  EXPECT_FALSE(t_.files.Exists(kDefaultMirror)) << "a null buffer resolves nothing";
  EXPECT_EQ(Get(false, buffer_), 1u);
  EXPECT_STREQ(buffer_, kDefaultMirror);
  EXPECT_TRUE(t_.files.Exists(kDefaultMirror));
  std::fill(std::begin(buffer_), std::end(buffer_), 'x');
  EXPECT_EQ(Get(true, buffer_), 1u);
  EXPECT_STREQ(buffer_, kDefaultMirror);
  EXPECT_TRUE(asked_.empty());
}

TEST_F(MirrorFolderExportTest, VanishedFolderIsOnlyRepairedWhenTheCallerAsksForIt) {
  t_.registry.PutString(kUser, kSettingsKey, "Mirror", "C:\\Gone");
  EXPECT_EQ(Get(false, buffer_), 0u);
  EXPECT_STREQ(buffer_, "");
  EXPECT_TRUE(asked_.empty());
  EXPECT_EQ(Get(true, buffer_), 0u);
  EXPECT_EQ(asked_, std::vector<std::string>{"C:\\Gone"});
  EXPECT_FALSE(t_.files.Exists("C:\\Gone"));
  EXPECT_FALSE(t_.files.Exists(kDefaultMirror));
}

}  // namespace
}  // namespace qbrk
