#include "settings/credential_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_registry.h"
#include "settings/settings.h"

namespace qbrk {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;

uint32_t U32At(const std::vector<uint8_t>& bytes, size_t at) {
  return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | uint32_t{bytes[at + 3]} << 24;
}

std::string Text(size_t length, char first) {
  std::string text;
  for (size_t i = 0; i < length; ++i)
    text += static_cast<char>(first + i % 26);
  return text;
}

TEST(CredentialRecordTest, EveryLengthSurvivesTheRegistryRoundTrip) {
  MemoryRegistry registry;
  FakeClock clock;
  Settings settings(registry, clock);
  for (size_t user_length = 0; user_length <= 70; user_length += 7) {
    for (size_t password_length = 0; password_length <= 40; ++password_length) {
      clock.Advance(1000);  // a new seed, so a new permutation, for each record
      const std::string user = Text(user_length, 'a');
      const std::string password = Text(password_length, 'A');
      settings.WriteCredentials(CredentialKind::kService, user, password, true);
      settings.WriteCredentials(CredentialKind::kProxy, password, user, false);

      Credentials service, proxy;
      ASSERT_TRUE(settings.ReadCredentials(CredentialKind::kService, &service));
      ASSERT_TRUE(settings.ReadCredentials(CredentialKind::kProxy, &proxy));
      EXPECT_EQ(service.user, user);
      EXPECT_EQ(service.password, password);
      EXPECT_TRUE(service.password_stored);
      EXPECT_EQ(proxy.user, password);
      EXPECT_FALSE(proxy.password_stored);
      EXPECT_EQ(proxy.password, "");

      const auto* stored = registry.Find(kUser, kSettingsKey, "Info");
      ASSERT_NE(stored, nullptr);
      EXPECT_EQ(stored->type, reg_type::kBinary);
      const size_t plain = user_length + 22 + password_length + 1;
      EXPECT_EQ(stored->data.size(), (plain + 7) / 8 * 8 + 8);
    }
  }
}

TEST(CredentialRecordTest, PlainLayoutAndTheForgottenPasswordOffset) {
  const std::vector<uint8_t> remembered = BuildCredentialRecord("taro", "pw", true);
  ASSERT_EQ(remembered.size(), 4u + 22 + 3);
  EXPECT_EQ(U32At(remembered, 8), 20u);
  EXPECT_EQ(U32At(remembered, 12), 21u);
  EXPECT_EQ(U32At(remembered, 16), 26u);
  EXPECT_EQ(remembered[20], 0);
  EXPECT_EQ(std::string(remembered.begin() + 21, remembered.end()), std::string("taro\0pw\0", 8));

  MemoryRegistry registry;
  Settings settings(registry);
  settings.WriteCredentials(CredentialKind::kService, "taro", "secret", false);
  std::vector<uint8_t> plain;
  ASSERT_TRUE(UnscrambleCredentialRecord(registry.Find(kUser, kSettingsKey, "Info")->data, &plain));
  EXPECT_EQ(U32At(plain, 16), 0xFFFFFFFFu);
  EXPECT_EQ(std::string(plain.begin() + 21, plain.begin() + 26), std::string("taro\0", 5));
  EXPECT_EQ(std::search(plain.begin(), plain.end(), std::begin("secret"), std::end("secret") - 1),
            plain.end());
}

TEST(CredentialRecordTest, StoredFormHidesThePasswordBehindAPermutationKey) {
  const std::vector<uint8_t> plain = BuildCredentialRecord("hanako@example.jp", "passw0rd", true);
  std::set<std::vector<uint8_t>> keys;
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    const std::vector<uint8_t> stored = ScrambleCredentialRecord(plain, seed);
    std::vector<uint8_t> key;
    for (size_t i = 0; i < 8; ++i)
      key.push_back(static_cast<uint8_t>(~stored[i] - '0'));
    std::vector<uint8_t> sorted = key;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, (std::vector<uint8_t>{0, 1, 2, 3, 4, 5, 6, 7})) << seed;
    keys.insert(key);
    EXPECT_EQ(std::search(stored.begin(), stored.end(), plain.begin() + 21, plain.begin() + 27),
              stored.end());
    // The last block is pure padding.
    EXPECT_EQ(std::vector<uint8_t>(stored.end() - 8, stored.end()), std::vector<uint8_t>(8, 0xFF));
    std::vector<uint8_t> back;
    ASSERT_TRUE(UnscrambleCredentialRecord(stored, &back));
    Credentials parsed;
    ASSERT_TRUE(ParseCredentialRecord(back, &parsed));
    EXPECT_EQ(parsed.password, "passw0rd");
  }
  EXPECT_GT(keys.size(), 1u);
}

TEST(CredentialRecordTest, HostileStoredBlobsAreRejectedWithoutStrayAccess) {
  std::vector<uint8_t> plain;
  for (size_t size : {0u, 1u, 7u, 9u, 15u, 23u})
    EXPECT_FALSE(UnscrambleCredentialRecord(std::vector<uint8_t>(size, 0xCF), &plain)) << size;

  const std::vector<uint8_t> good =
      ScrambleCredentialRecord(BuildCredentialRecord("user", "pass", true), 7);
  std::vector<uint8_t> bad_key = good;
  bad_key[3] = static_cast<uint8_t>(~('0' + 8));  // entry 8
  EXPECT_FALSE(UnscrambleCredentialRecord(bad_key, &plain));
  bad_key[3] = static_cast<uint8_t>(~('0' - 1));  // entry below '0' wraps to 255
  EXPECT_FALSE(UnscrambleCredentialRecord(bad_key, &plain));
  std::vector<uint8_t> repeated = good;
  repeated[1] = repeated[0];
  EXPECT_FALSE(UnscrambleCredentialRecord(repeated, &plain));

  // A key block alone unscrambles to nothing and parses to nothing.
  ASSERT_TRUE(UnscrambleCredentialRecord({good.begin(), good.begin() + 8}, &plain));
  EXPECT_TRUE(plain.empty());
  Credentials parsed;
  EXPECT_FALSE(ParseCredentialRecord(plain, &parsed));

  // Truncated at every block boundary: a record that lost its end never parses into
  // strings that run past it.
  for (size_t keep = 8; keep < good.size(); keep += 8) {
    std::vector<uint8_t> cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(keep));
    ASSERT_TRUE(UnscrambleCredentialRecord(cut, &plain));
    if (ParseCredentialRecord(plain, &parsed)) {
      EXPECT_LT(parsed.user.size() + parsed.password.size(), plain.size());
    }
  }
}

TEST(CredentialRecordTest, PlainRecordsWithOffsetsOutsideAreRefused) {
  auto with_offsets = [](uint32_t user, uint32_t password) {
    std::vector<uint8_t> plain = BuildCredentialRecord("ab", "cd", true);
    for (int i = 0; i < 4; ++i) {
      plain[12 + i] = static_cast<uint8_t>(user >> (8 * i));
      plain[16 + i] = static_cast<uint8_t>(password >> (8 * i));
    }
    return plain;
  };
  Credentials parsed;
  EXPECT_TRUE(ParseCredentialRecord(with_offsets(21, 24), &parsed));
  EXPECT_FALSE(ParseCredentialRecord(with_offsets(27, 24), &parsed));  // just past the end
  EXPECT_FALSE(ParseCredentialRecord(with_offsets(21, 5000), &parsed));
  EXPECT_FALSE(ParseCredentialRecord(with_offsets(0x7FFFFFFF, 24), &parsed));
  EXPECT_FALSE(ParseCredentialRecord(with_offsets(4, 24), &parsed));  // inside the header
  EXPECT_FALSE(ParseCredentialRecord(with_offsets(21, 0xFFFFFFFE), &parsed));

  std::vector<uint8_t> unterminated = BuildCredentialRecord("abc", "", false);
  unterminated.pop_back();
  EXPECT_FALSE(ParseCredentialRecord(unterminated, &parsed));
  EXPECT_FALSE(ParseCredentialRecord(std::vector<uint8_t>(19, 0), &parsed));
}

TEST(CredentialRecordTest, RandomBlobsNeverYieldStringsLongerThanThemselves) {
  std::mt19937 random(20020305);
  for (int round = 0; round < 2000; ++round) {
    std::vector<uint8_t> blob(8 * (1 + random() % 12));
    for (auto& byte : blob)
      byte = static_cast<uint8_t>(random());
    // Half of the blobs get a valid key, so that their bodies are actually decoded.
    if (round % 2) {
      std::vector<uint8_t> key = {0, 1, 2, 3, 4, 5, 6, 7};
      std::shuffle(key.begin(), key.end(), random);
      for (size_t i = 0; i < 8; ++i)
        blob[i] = static_cast<uint8_t>(~(key[i] + '0'));
    }
    std::vector<uint8_t> plain;
    Credentials parsed;
    if (UnscrambleCredentialRecord(blob, &plain) && ParseCredentialRecord(plain, &parsed)) {
      EXPECT_LT(parsed.user.size(), blob.size());
      EXPECT_LT(parsed.password.size(), blob.size());
    }
  }
}

}  // namespace
}  // namespace qbrk
