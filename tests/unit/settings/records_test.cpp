#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/memory_registry.h"
#include "settings/lock_token_record.h"
#include "settings/settings.h"
#include "settings/suffix_list.h"

namespace qbrk {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(RecordsTest, LockTokenLengthsMustDescribeTheBytesExactly) {
  const Bytes good = EncodeLockTokenRecord({"/a\x83\x5C", "tok"});
  EXPECT_EQ(good, Bytes({4, 0, 0, 0, '/', 'a', 0x83, 0x5C, 3, 0, 0, 0, 't', 'o', 'k'}));
  LockTokenRecord back;
  ASSERT_TRUE(DecodeLockTokenRecord(good, &back));
  EXPECT_EQ(back.path + back.token, "/a\x83\x5Ctok");
  Bytes trailing = good;
  trailing.push_back(0);
  EXPECT_FALSE(DecodeLockTokenRecord(trailing, &back));
  for (size_t keep = 0; keep < good.size(); ++keep)
    EXPECT_FALSE(DecodeLockTokenRecord({good.begin(), good.begin() + keep}, &back)) << keep;
  // Lengths that would wrap a 32-bit sum.
  EXPECT_FALSE(DecodeLockTokenRecord({0, 0, 0, 0, 0xFC, 0xFF, 0xFF, 0xFF, 'a', 'b'}, &back));
}

TEST(RecordsTest, SyncListLayoutIsThirteenLittleEndianWords) {
  MemoryRegistry registry;
  Settings settings(registry);
  SyncListLayout layout{1, 640, -1, {200, 60, 80, 120, 90}, {4, 3, 2, 1, 0}};
  settings.WriteSyncListLayout(layout);
  const Bytes& stored = registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "SycLstDlg")->data;
  ASSERT_EQ(stored.size(), 52u);
  EXPECT_EQ(Bytes(stored.begin(), stored.begin() + 12),
            Bytes({1, 0, 0, 0, 0x80, 2, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
  SyncListLayout back;
  ASSERT_TRUE(settings.ReadSyncListLayout(&back));
  EXPECT_EQ(EncodeSyncListLayout(back), stored);
}

TEST(RecordsTest, SuffixListMatchesWholeQuotedExtensionsFoldingAsciiOnly) {
  const std::string list = "\"$$$\"\"Tmp\"\"\x83\x41\"";
  EXPECT_TRUE(SuffixListMatches(list, "REPORT.TMP"));
  EXPECT_TRUE(SuffixListMatches(list, "a.b.$$$"));
  EXPECT_TRUE(SuffixListMatches(list, "x.\x83\x41"));
  EXPECT_FALSE(SuffixListMatches(list, "archive.tmp.zip"));  // only the last dot counts
  EXPECT_FALSE(SuffixListMatches(list, "tmp"));
  EXPECT_FALSE(SuffixListMatches(list, "a.tm"));
  // "ア" is 0x83 0x41; folding its trail byte would make it 0x83 0x61, another character.
  EXPECT_FALSE(SuffixListMatches(list, "x.\x83\x61"));
}

}  // namespace
}  // namespace qbrk
