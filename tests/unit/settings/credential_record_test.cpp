#include "settings/credential_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "platform/memory/fake_clock.h"
#include "platform/memory/memory_registry.h"
#include "settings/settings.h"

namespace qbrk {
namespace {

using Bytes = std::vector<uint8_t>;

// Records scrambled by hand with the key P = 3,0,7,1,6,2,5,4: stored byte k of a block is
// the complement of plain byte P[k] of that block (0xFF past the record), and the first
// block holds the complements of '3','0','7','1','6','2','5','4'. Each stored block is
// commented with the plain block it hides.
constexpr ScramblePermutation kHandKey = {3, 0, 7, 1, 6, 2, 5, 4};
struct HandScrambled {
  const char* what;
  Bytes plain;
  Bytes stored;
};
const HandScrambled kHandScrambled[] = {
    {"user taro, password pw (29 bytes: a part block, then the padding block)",
     {0,   0, 0,   0,   0,  0,   0,   0,    // unused
      20,  0, 0,   0,   21, 0,   0,   0,    // offsets of the reserved string and the user
      26,  0, 0,   0,   0,  't', 'a', 'r',  // offset of the password, "", user
      'o', 0, 'p', 'w', 0},                 // password
     {0xCC, 0xCF, 0xC8, 0xCE, 0xC9, 0xCD, 0xCA, 0xCB,    // key
      0xFF, 0xEB, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xEA,    // 20 0 0 0 21 0 0 0
      0xFF, 0xE5, 0x8D, 0xFF, 0x9E, 0xFF, 0x8B, 0xFF,    // 26 0 0 0 0 t a r
      0x88, 0x90, 0xFF, 0xFF, 0xFF, 0x8F, 0xFF, 0xFF,    // o 0 p w 0, then past the end
      0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},  // padding
    {"user ab, no password (24 bytes: whole blocks, still a padding block)",
     {0,    0,    0,    0,    0,  0,   0,   0,   // unused
      20,   0,    0,    0,    21, 0,   0,   0,   // offsets of the reserved string and the user
      0xFF, 0xFF, 0xFF, 0xFF, 0,  'a', 'b', 0},  // no password, "", user
     {0xCC, 0xCF, 0xC8, 0xCE, 0xC9, 0xCD, 0xCA, 0xCB,    // key
      0xFF, 0xEB, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xEA,    // 20 0 0 0 21 0 0 0
      0x00, 0x00, 0xFF, 0x00, 0x9D, 0x00, 0x9E, 0xFF,    // FF FF FF FF 0 a b 0
      0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},  // padding
};

TEST(CredentialRecordTest, HandScrambledRecordsMatchBothWays) {
  for (const HandScrambled& record : kHandScrambled) {
    SCOPED_TRACE(record.what);
    EXPECT_EQ(ScrambleCredentialRecord(record.plain, kHandKey), record.stored);
    Bytes plain;
    ASSERT_TRUE(UnscrambleCredentialRecord(record.stored, &plain));
    // Unscrambled, the last plain block comes back filled up with zeros.
    Bytes expected = record.plain;
    expected.resize((expected.size() + 7) / 8 * 8, 0);
    EXPECT_EQ(plain, expected);
  }
  Credentials parsed;
  Bytes plain;
  ASSERT_TRUE(UnscrambleCredentialRecord(kHandScrambled[0].stored, &plain));
  ASSERT_TRUE(ParseCredentialRecord(plain, &parsed));
  EXPECT_TRUE(parsed.user == "taro" && parsed.password == "pw" && parsed.password_stored);
  EXPECT_EQ(BuildCredentialRecord("taro", "pw", true), kHandScrambled[0].plain);
  EXPECT_EQ(BuildCredentialRecord("ab", "xy", false), kHandScrambled[1].plain);
}

TEST(CredentialRecordTest, StoredRecordCarriesTheKeyDrawnFromTheClock) {
  MemoryRegistry registry;
  FakeClock clock;
  Settings settings(registry, clock);
  for (int round = 0; round < 50; ++round) {
    clock.Advance(7919 * 1000);
    const uint32_t seed = static_cast<uint32_t>(clock.UnixSeconds());
    const ScramblePermutation key = DrawScramblePermutation(seed);
    ScramblePermutation sorted = key;
    std::sort(sorted.begin(), sorted.end());
    ASSERT_EQ(sorted, (ScramblePermutation{0, 1, 2, 3, 4, 5, 6, 7})) << seed;
    settings.WriteCredentials(CredentialKind::kService, "taro", "pw", true);
    EXPECT_EQ(registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "Info")->data,
              ScrambleCredentialRecord(BuildCredentialRecord("taro", "pw", true), key));
  }
}

TEST(CredentialRecordTest, EveryLengthSurvivesTheRegistryRoundTrip) {
  MemoryRegistry registry;
  FakeClock clock;
  Settings settings(registry, clock);
  for (size_t user_length = 0; user_length <= 70; user_length += 7) {
    for (size_t password_length = 0; password_length <= 40; ++password_length) {
      clock.Advance(1000);  // a new seed, so a new permutation, for each record
      const std::string user(user_length, 'u'), password(password_length, 'p');
      settings.WriteCredentials(CredentialKind::kService, user, password, true);
      settings.WriteCredentials(CredentialKind::kProxy, password, user, false);
      Credentials service, proxy;
      ASSERT_TRUE(settings.ReadCredentials(CredentialKind::kService, &service));
      ASSERT_TRUE(settings.ReadCredentials(CredentialKind::kProxy, &proxy));
      EXPECT_TRUE(service.user == user && service.password == password);
      EXPECT_TRUE(service.password_stored);
      EXPECT_TRUE(proxy.user == password && proxy.password.empty() && !proxy.password_stored);
      const Bytes& stored = registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "Info")->data;
      EXPECT_EQ(stored.size(), (user_length + password_length + 23 + 7) / 8 * 8 + 8);
    }
  }
}

TEST(CredentialRecordTest, ForgottenPasswordLeavesTheOffsetAllOnesAndNoPassword) {
  MemoryRegistry registry;
  Settings(registry).WriteCredentials(CredentialKind::kService, "taro", "secret", false);
  Bytes plain;
  ASSERT_TRUE(UnscrambleCredentialRecord(
      registry.Find(RegistryRoot::kCurrentUser, kSettingsKey, "Info")->data, &plain));
  const Bytes expected = {0, 0, 0, 0,    0,    0,    0,    0, 20,  0,   0,   0,   21,
                          0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 't', 'a', 'r', 'o', 0};
  ASSERT_EQ(plain.size(), 32u);  // the rest of the last plain block is zero
  EXPECT_EQ(Bytes(plain.begin(), plain.begin() + 26), expected);
  EXPECT_EQ(Bytes(plain.begin() + 26, plain.end()), Bytes(6, 0));
}

TEST(CredentialRecordTest, HostileBlobsAndOffsetsAreRejected) {
  Bytes plain;
  Credentials parsed;
  for (size_t size : {0u, 7u, 9u, 23u})
    EXPECT_FALSE(UnscrambleCredentialRecord(Bytes(size, 0xCF), &plain)) << size;
  const Bytes good = ScrambleCredentialRecord(BuildCredentialRecord("ab", "cd", true), 7);
  Bytes bad = good;
  bad[3] = static_cast<uint8_t>(~('0' + 8));  // key entry 8
  EXPECT_FALSE(UnscrambleCredentialRecord(bad, &plain));
  bad = good;
  bad[1] = bad[0];  // a repeated entry is no permutation
  EXPECT_FALSE(UnscrambleCredentialRecord(bad, &plain));

  // Offsets (user, password) past the end, into the header, or wrapping.
  for (auto [user, password] : {std::pair<uint32_t, uint32_t>{21, 24},
                                {27, 24},
                                {21, 5000},
                                {0x7FFFFFFF, 24},
                                {4, 24},
                                {21, 0xFFFFFFFE}}) {
    plain = BuildCredentialRecord("ab", "cd", true);  // 27 bytes, strings at 21 and 24
    for (int i = 0; i < 4; ++i) {
      plain[12 + i] = static_cast<uint8_t>(user >> (8 * i));
      plain[16 + i] = static_cast<uint8_t>(password >> (8 * i));
    }
    EXPECT_EQ(ParseCredentialRecord(plain, &parsed), user == 21 && password == 24) << user;
  }
  plain.pop_back();  // unterminated password
  EXPECT_FALSE(ParseCredentialRecord(plain, &parsed));

  // Random bodies, half behind a valid key so they are decoded: what parses lies inside.
  std::mt19937 random(20020305);
  for (int round = 0; round < 2000; ++round) {
    Bytes blob(8 * (1 + random() % 12));
    for (auto& byte : blob)
      byte = static_cast<uint8_t>(random());
    Bytes key = {0, 1, 2, 3, 4, 5, 6, 7};
    std::shuffle(key.begin(), key.end(), random);
    for (size_t i = 0; round % 2 && i < 8; ++i)
      blob[i] = static_cast<uint8_t>(~(key[i] + '0'));
    if (UnscrambleCredentialRecord(blob, &plain) && ParseCredentialRecord(plain, &parsed)) {
      EXPECT_LT(parsed.user.size() + parsed.password.size(), blob.size());
    }
  }
}

}  // namespace
}  // namespace qbrk
