// Hand-edited or damaged values must read as defaults (or failures) and never crash, both
// with a registry that returns strings exactly as stored and with one that reports an
// unterminated string one byte longer and terminates it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_registry.h"
#include "settings/recording_registry.h"
#include "settings/settings.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;

std::vector<uint8_t> Bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

class BadRegistryDataTest : public ::testing::TestWithParam<bool> {
 protected:
  BadRegistryDataTest() { registry_.set_terminate_strings(GetParam()); }

  void Put(const char* name, uint32_t type, std::vector<uint8_t> data) {
    memory_.Put(kUser, kSettingsKey, name, type, std::move(data));
  }
  const MemoryRegistry::Value* Stored(const char* name) const {
    return memory_.Find(kUser, kSettingsKey, name);
  }

  MemoryRegistry memory_;
  testing::RecordingRegistry registry_{memory_};
  FakeClock clock_;
  Settings settings_{registry_, clock_};
};

TEST_P(BadRegistryDataTest, MalformedDwordsReadAsDefaultsAndStayForTheUserToSee) {
  const std::vector<std::vector<uint8_t>> shapes = {
      {}, {1, 0}, {1, 0, 0}, {1, 0, 0, 0, 0, 0, 0, 0}};
  for (const auto& shape : shapes) {
    Put("PutUnit", reg_type::kDword, shape);
    Put("SyncNotify", reg_type::kDword, shape);
    Put("Timeout", reg_type::kDword, shape);
    EXPECT_EQ(settings_.PutUnit(), 524288u) << shape.size();
    EXPECT_EQ(settings_.SyncNotify(), 1u) << shape.size();
    EXPECT_EQ(settings_.Timeout(), 900000u) << shape.size();
    EXPECT_EQ(Stored("PutUnit")->data, shape) << "a damaged value is not replaced";
  }
  // Right size, wrong type.
  Put("UseSSL", reg_type::kBinary, {1, 0, 0, 0});
  Put("Port", reg_type::kString, Bytes("81\0"));
  EXPECT_EQ(settings_.UseSsl(), 0u);
  EXPECT_EQ(settings_.Port(), 80u);
  EXPECT_EQ(Stored("UseSSL")->type, reg_type::kBinary);
}

TEST_P(BadRegistryDataTest, StringsEndAtTheirSizeOrTheirFirstZero) {
  Put("Domain", reg_type::kString, Bytes("dav.example.test"));  // unterminated
  Put("Root", reg_type::kString, Bytes(std::string("/~a/file\0junk", 13)));
  Put("PubServlet", reg_type::kExpandString, Bytes(std::string("/p\0", 3)));
  std::string host, root, servlet;
  ASSERT_TRUE(settings_.ReadDomain(&host));
  ASSERT_TRUE(settings_.ReadRoot(&root));
  ASSERT_TRUE(settings_.ReadPubServlet(&servlet));
  EXPECT_EQ(host, "dav.example.test");
  EXPECT_EQ(root, "/~a/file");
  EXPECT_EQ(servlet, "/p");
}

TEST_P(BadRegistryDataTest, EmptyMistypedOrOverLongStringsKeepTheCallersDefault) {
  const std::vector<std::pair<uint32_t, std::vector<uint8_t>>> cases = {
      {reg_type::kString, {}},
      {reg_type::kString, {0}},
      {reg_type::kString, Bytes(std::string("\0abc", 4))},
      {reg_type::kDword, {1, 0, 0, 0}},
      {reg_type::kBinary, Bytes("host")},
      {reg_type::kString, std::vector<uint8_t>(5000, 'h')},
  };
  for (const auto& [type, data] : cases) {
    Put("Domain", type, data);
    std::string host = "built-in";
    EXPECT_FALSE(settings_.ReadDomain(&host)) << type << " " << data.size();
    EXPECT_EQ(host, "built-in");
  }
}

TEST_P(BadRegistryDataTest, MirrorLongerThanAWindowsPathIsDamageNotAbsence) {
  std::string path;
  EXPECT_EQ(settings_.ReadMirrorValue(&path), ValueRead::kNoKey);
  Put("Port", reg_type::kDword, {80, 0, 0, 0});
  EXPECT_EQ(settings_.ReadMirrorValue(&path), ValueRead::kMissing);

  const std::string longest = "C:\\" + std::string(256, 'm');  // 259 bytes
  Put("Mirror", reg_type::kString, Bytes(longest + '\0'));
  ASSERT_EQ(settings_.ReadMirrorValue(&path), ValueRead::kOk);
  EXPECT_EQ(path, longest);
  Put("Mirror", reg_type::kString, Bytes(longest));  // unterminated, still fits
  ASSERT_EQ(settings_.ReadMirrorValue(&path), ValueRead::kOk);
  EXPECT_EQ(path, longest);

  Put("Mirror", reg_type::kString, Bytes(longest + "m"));
  EXPECT_EQ(settings_.ReadMirrorValue(&path), ValueRead::kBadData);
  Put("Mirror", reg_type::kString, Bytes(longest + "m" + '\0'));
  EXPECT_EQ(settings_.ReadMirrorValue(&path), ValueRead::kBadData);
  Put("Mirror", reg_type::kDword, {1, 0, 0, 0});
  EXPECT_EQ(settings_.ReadMirrorValue(&path), ValueRead::kBadData);

  EXPECT_FALSE(settings_.WriteMirror(longest + "m"));
  EXPECT_TRUE(settings_.WriteMirror(longest));
  EXPECT_EQ(Stored("Mirror")->data.size(), 260u);
}

TEST_P(BadRegistryDataTest, SuffixIsTerminatedByTheReaderAndLimitedByTheBuffer) {
  Put("Suffix", reg_type::kString, Bytes("\"tmp\"\"BAK\""));
  EXPECT_EQ(settings_.ReadSuffix(), "\"tmp\"\"BAK\"");
  EXPECT_TRUE(settings_.IsExcludedByExtension("notes.bak"));
  EXPECT_FALSE(settings_.IsExcludedByExtension("notes.$$$"));

  // 64 bytes cannot be terminated in a 64-byte buffer: the default applies and the value
  // is left as it is.
  const std::vector<uint8_t> too_long(64, 'x');
  Put("Suffix", reg_type::kString, too_long);
  EXPECT_EQ(settings_.ReadSuffix(), "\"$$$\"");
  EXPECT_EQ(Stored("Suffix")->data, too_long);
  EXPECT_EQ(settings_.ReadSuffix(65), std::string(64, 'x'));

  Put("Suffix", reg_type::kBinary, Bytes("\"tmp\""));
  EXPECT_EQ(settings_.ReadSuffix(), "\"$$$\"");
}

TEST_P(BadRegistryDataTest, MissingSuffixIsStoredAndReturnedOnlyIntoRoomyBuffers) {
  EXPECT_EQ(settings_.ReadSuffix(5), "");
  ASSERT_NE(Stored("Suffix"), nullptr);
  EXPECT_EQ(Stored("Suffix")->data, Bytes("\"$$$\""));
  // The stored, unterminated default needs six bytes once terminated.
  EXPECT_EQ(settings_.ReadSuffix(5), "");
  EXPECT_EQ(settings_.ReadSuffix(6), "\"$$$\"");
  memory_.Put(kUser, kSettingsKey, "Suffix", reg_type::kNone, {});
  EXPECT_EQ(settings_.ReadSuffix(6), "\"$$$\"");
  EXPECT_TRUE(settings_.IsExcludedByExtension("download.$$$"));
}

TEST_P(BadRegistryDataTest, DamagedBinaryRecordsReadAsAbsent) {
  Credentials credentials;
  std::string path, token;
  for (size_t size : {0u, 1u, 7u, 9u, 15u, 17u}) {
    Put("Info", reg_type::kBinary, std::vector<uint8_t>(size, 0xCF));
    EXPECT_FALSE(settings_.ReadCredentials(CredentialKind::kService, &credentials)) << size;
  }
  Put("Info", reg_type::kString, std::vector<uint8_t>(32, 0xCF));
  EXPECT_FALSE(settings_.ReadCredentials(CredentialKind::kService, &credentials));
  Put("LockToken", reg_type::kBinary, {0xFF, 0xFF, 0xFF, 0xFF, 'a'});
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));
  Put("LockToken", reg_type::kString, {0, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));
}

INSTANTIATE_TEST_SUITE_P(StringsAsStored, BadRegistryDataTest, ::testing::Values(false));
INSTANTIATE_TEST_SUITE_P(StringsTerminatedByTheRegistry, BadRegistryDataTest,
                         ::testing::Values(true));

}  // namespace
}  // namespace qbrk
