#include "settings/credential_record.h"

#include <array>
#include <cstdlib>

namespace qbrk {

namespace {

constexpr size_t kBlock = 8;
constexpr uint32_t kReservedOffset = 20;
constexpr uint32_t kUserOffset = 21;
constexpr size_t kHeaderSize = 20;

void PutU32(std::vector<uint8_t>* out, size_t at, uint32_t value) {
  for (size_t i = 0; i < 4; ++i)
    (*out)[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t GetU32(const std::vector<uint8_t>& in, size_t at) {
  return uint32_t{in[at]} | uint32_t{in[at + 1]} << 8 | uint32_t{in[at + 2]} << 16 |
         uint32_t{in[at + 3]} << 24;
}

// The zero-terminated string at `offset`, which must start after the header and end
// inside the record.
bool StringAt(const std::vector<uint8_t>& plain, uint32_t offset, std::string* out) {
  if (offset < kHeaderSize || offset >= plain.size()) return false;
  for (size_t end = offset; end < plain.size(); ++end) {
    if (plain[end] == 0) {
      out->assign(plain.begin() + offset, plain.begin() + static_cast<std::ptrdiff_t>(end));
      return true;
    }
  }
  return false;
}

}  // namespace

std::vector<uint8_t> BuildCredentialRecord(const std::string& user, const std::string& password,
                                           bool remember_password) {
  std::vector<uint8_t> plain(kHeaderSize, 0);
  PutU32(&plain, 8, kReservedOffset);
  PutU32(&plain, 12, kUserOffset);
  plain.push_back(0);  // the reserved string, always empty
  plain.insert(plain.end(), user.begin(), user.end());
  plain.push_back(0);
  if (remember_password) {
    PutU32(&plain, 16, static_cast<uint32_t>(plain.size()));
    plain.insert(plain.end(), password.begin(), password.end());
    plain.push_back(0);
  } else {
    PutU32(&plain, 16, kNoPasswordOffset);
  }
  return plain;
}

bool ParseCredentialRecord(const std::vector<uint8_t>& plain, Credentials* out) {
  if (plain.size() < kHeaderSize) return false;
  Credentials parsed;
  if (!StringAt(plain, GetU32(plain, 12), &parsed.user)) return false;
  const uint32_t password_offset = GetU32(plain, 16);
  if (password_offset != kNoPasswordOffset) {
    if (!StringAt(plain, password_offset, &parsed.password)) return false;
    parsed.password_stored = true;
  }
  *out = std::move(parsed);
  return true;
}

ScramblePermutation DrawScramblePermutation(uint32_t seed) {
  // The key travels with the record, so the reader needs no generator; the time seed only
  // makes two records of the same credentials differ.
  std::srand(seed);
  ScramblePermutation remaining = {0, 1, 2, 3, 4, 5, 6, 7};
  ScramblePermutation permutation{};
  size_t left = kBlock;
  for (size_t i = 0; i < kBlock; ++i, --left) {
    const size_t pick = static_cast<size_t>(std::rand()) % left;
    permutation[i] = remaining[pick];
    for (size_t j = pick; j + 1 < left; ++j)
      remaining[j] = remaining[j + 1];
  }
  return permutation;
}

std::vector<uint8_t> ScrambleCredentialRecord(const std::vector<uint8_t>& plain,
                                              const ScramblePermutation& permutation) {
  const size_t length = (plain.size() + kBlock - 1) / kBlock * kBlock + kBlock;
  std::vector<uint8_t> stored(length);
  for (size_t block = 0; block < length; block += kBlock) {
    for (size_t k = 0; k < kBlock; ++k) {
      const size_t source = block + permutation[k];
      stored[block + k] = source < plain.size() ? static_cast<uint8_t>(~plain[source]) : 0xFF;
    }
  }
  for (size_t i = 0; i < kBlock; ++i)
    stored[i] = static_cast<uint8_t>(~(permutation[i] + '0'));
  return stored;
}

std::vector<uint8_t> ScrambleCredentialRecord(const std::vector<uint8_t>& plain, uint32_t seed) {
  return ScrambleCredentialRecord(plain, DrawScramblePermutation(seed));
}

bool UnscrambleCredentialRecord(const std::vector<uint8_t>& stored, std::vector<uint8_t>* plain) {
  if (stored.empty() || stored.size() % kBlock != 0) return false;
  std::array<uint8_t, kBlock> inverse{};
  std::array<bool, kBlock> seen{};
  for (size_t k = 0; k < kBlock; ++k) {
    const uint8_t entry = static_cast<uint8_t>(static_cast<uint8_t>(~stored[k]) - '0');
    // A repeated entry would leave part of every block unmapped.
    if (entry >= kBlock || seen[entry]) return false;
    seen[entry] = true;
    inverse[entry] = static_cast<uint8_t>(k);
  }
  const size_t length = stored.size() - kBlock;  // the last block is padding
  std::vector<uint8_t> out(length, 0);
  for (size_t block = kBlock; block < length; block += kBlock) {
    for (size_t m = 0; m < kBlock; ++m)
      out[block + m] = static_cast<uint8_t>(~stored[block + inverse[m]]);
  }
  *plain = std::move(out);
  return true;
}

}  // namespace qbrk
