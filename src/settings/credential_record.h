// The credential record stored in "Info" and "ProxyInfo", and its scrambling. The
// scrambling hides the password from casual reading; it is not encryption.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "settings/settings.h"

namespace qbrk {

// The offset field of a record that holds no password.
inline constexpr uint32_t kNoPasswordOffset = 0xFFFFFFFF;

// The plain record: 8 unused bytes, three 32-bit offsets (reserved string 20, user 21,
// password or 0xFFFFFFFF), the empty reserved string, the user, the optional password.
std::vector<uint8_t> BuildCredentialRecord(const std::string& user, const std::string& password,
                                           bool remember_password);
// Reads a plain record; false when its offsets or strings do not fit its length.
bool ParseCredentialRecord(const std::vector<uint8_t>& plain, Credentials* out);

// The key of a scrambled record: a permutation of 0..7.
using ScramblePermutation = std::array<uint8_t, 8>;

// The permutation drawn from rand() after srand(seed): entry i is taken out of what is left
// of 0..7 at index rand() % (8 - i).
ScramblePermutation DrawScramblePermutation(uint32_t seed);
// Byte k of every 8-byte block of the result is the complement of plain byte
// (block start + permutation[k]), 0xFF past the plain record; the first block is then
// overwritten by the key, byte i the complement of '0' + permutation[i]. The result is the
// plain length rounded up to a multiple of 8, plus one block of padding.
std::vector<uint8_t> ScrambleCredentialRecord(const std::vector<uint8_t>& plain,
                                              const ScramblePermutation& permutation);
// Scrambles with the permutation drawn from `seed`.
std::vector<uint8_t> ScrambleCredentialRecord(const std::vector<uint8_t>& plain, uint32_t seed);
// False for a length that is not a positive multiple of 8, or a key that is not a
// permutation of 0..7. `plain` receives every block but the padding one, the unused first
// 8 bytes zeroed.
bool UnscrambleCredentialRecord(const std::vector<uint8_t>& stored, std::vector<uint8_t>* plain);

}  // namespace qbrk
