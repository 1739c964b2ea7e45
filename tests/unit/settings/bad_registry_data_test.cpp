// Hand-edited or damaged values read as defaults or failures and are left in place.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/memory_registry.h"
#include "settings/settings.h"

namespace qbrk {
namespace {

using Bytes = std::vector<uint8_t>;

class BadRegistryDataTest : public ::testing::Test {
 protected:
  void Put(const char* name, uint32_t type, Bytes data) {
    memory_.Put(RegistryRoot::kCurrentUser, kSettingsKey, name, type, std::move(data));
  }
  // Some registries report an unterminated string one byte longer and terminate it; to
  // the reader that is the same as a stored terminator, so text is tried both ways.
  void PutText(const char* name, const std::string& text, bool terminated) {
    Bytes data(text.begin(), text.end());
    if (terminated) data.push_back(0);
    Put(name, reg_type::kString, data);
  }
  Bytes Stored(const char* name) const {
    return memory_.Find(RegistryRoot::kCurrentUser, kSettingsKey, name)->data;
  }
  MemoryRegistry memory_;
  Settings settings_{memory_};
};

TEST_F(BadRegistryDataTest, MalformedDwordsReadAsDefaultsAndStayForTheUserToSee) {
  for (const Bytes& shape : {Bytes{}, Bytes{1, 0}, Bytes{1, 0, 0, 0, 0, 0, 0, 0}}) {
    Put("PutUnit", reg_type::kDword, shape);
    Put("SyncNotify", reg_type::kDword, shape);  // a zero-length read counts as 1
    EXPECT_EQ(settings_.PutUnit(), 524288u);
    EXPECT_EQ(settings_.SyncNotify(), 1u);
    EXPECT_EQ(Stored("PutUnit"), shape);
  }
  Put("UseSSL", reg_type::kBinary, {1, 0, 0, 0});
  EXPECT_EQ(settings_.UseSsl(), 0u);
}

TEST_F(BadRegistryDataTest, TextEndsAtItsSizeOrFirstZeroAndMustFitItsBuffer) {
  for (bool terminated : {false, true}) {
    SCOPED_TRACE(terminated);
    std::string text;
    PutText("Domain", std::string("dav.example.test\0junk", 21), terminated);
    ASSERT_TRUE(settings_.ReadDomain(&text));
    EXPECT_EQ(text, "dav.example.test");
    for (const std::string& bad :
         {std::string(), std::string("\0abc", 4), std::string(5000, 'h')}) {
      PutText("Domain", bad, terminated);
      EXPECT_FALSE(settings_.ReadDomain(&text));
    }
    const std::string longest = "C:\\" + std::string(256, 'm');  // 259 bytes
    PutText("Mirror", longest, terminated);
    EXPECT_EQ(settings_.ReadMirrorValue(&text), ValueRead::kOk);
    EXPECT_EQ(text, longest);
    PutText("Mirror", longest + "m", terminated);
    EXPECT_EQ(settings_.ReadMirrorValue(&text), ValueRead::kBadData);

    PutText("Suffix", "\"tmp\"\"BAK\"", terminated);
    EXPECT_TRUE(settings_.IsExcludedByExtension("notes.bak"));
    EXPECT_FALSE(settings_.IsExcludedByExtension("notes.$$$"));
    // 64 bytes cannot be terminated in 64: the default applies, the value stays.
    PutText("Suffix", std::string(64, 'x'), terminated);
    EXPECT_EQ(settings_.ReadSuffix(), "\"$$$\"");
    EXPECT_EQ(settings_.ReadSuffix(65), std::string(64, 'x'));
    EXPECT_EQ(Stored("Suffix").size(), terminated ? 65u : 64u);
  }
  Put("Domain", reg_type::kDword, {'a', 0, 0, 0});
  Put("Mirror", reg_type::kBinary, {'C', ':', 0});
  std::string text = "kept";
  EXPECT_FALSE(settings_.ReadDomain(&text));
  EXPECT_EQ(settings_.ReadMirrorValue(&text), ValueRead::kBadData);
  EXPECT_EQ(text, "kept");
}

TEST_F(BadRegistryDataTest, MissingSuffixIsStoredButReturnedOnlyIntoRoomyBuffers) {
  EXPECT_EQ(settings_.ReadSuffix(5), "");
  EXPECT_EQ(Stored("Suffix"), Bytes({'"', '$', '$', '$', '"'}));
  EXPECT_EQ(settings_.ReadSuffix(5), "");  // the stored five bytes need a sixth
  EXPECT_EQ(settings_.ReadSuffix(6), "\"$$$\"");
  EXPECT_TRUE(settings_.IsExcludedByExtension("download.$$$"));
}

TEST_F(BadRegistryDataTest, DamagedBinaryRecordsReadAsAbsent) {
  Credentials credentials;
  SyncListLayout layout;
  std::string path, token;
  for (size_t size : {0u, 7u, 9u, 17u, 51u, 53u}) {
    Put("Info", reg_type::kBinary, Bytes(size, 0xCF));
    Put("SycLstDlg", reg_type::kBinary, Bytes(size, 0));
    EXPECT_FALSE(settings_.ReadCredentials(CredentialKind::kService, &credentials)) << size;
    EXPECT_FALSE(settings_.ReadSyncListLayout(&layout)) << size;
  }
  Put("Info", reg_type::kString, Bytes(32, 0xCF));
  Put("LockToken", reg_type::kBinary, {0xFF, 0xFF, 0xFF, 0xFF, 'a'});
  EXPECT_FALSE(settings_.ReadCredentials(CredentialKind::kService, &credentials));
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));
}

}  // namespace
}  // namespace qbrk
