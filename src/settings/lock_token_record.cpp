#include "settings/lock_token_record.h"

namespace qbrk {

namespace {

void AppendPiece(std::vector<uint8_t>* out, const std::string& piece) {
  const uint32_t length = static_cast<uint32_t>(piece.size());
  for (int i = 0; i < 4; ++i)
    out->push_back(static_cast<uint8_t>(length >> (8 * i)));
  out->insert(out->end(), piece.begin(), piece.end());
}

// Reads one length-prefixed piece at `*at`, advancing it; false when it overruns the bytes.
bool TakePiece(const std::vector<uint8_t>& bytes, size_t* at, std::string* piece) {
  if (bytes.size() - *at < 4) return false;
  const uint32_t length = uint32_t{bytes[*at]} | uint32_t{bytes[*at + 1]} << 8 |
                          uint32_t{bytes[*at + 2]} << 16 | uint32_t{bytes[*at + 3]} << 24;
  *at += 4;
  if (bytes.size() - *at < length) return false;
  piece->assign(bytes.begin() + static_cast<std::ptrdiff_t>(*at),
                bytes.begin() + static_cast<std::ptrdiff_t>(*at + length));
  *at += length;
  return true;
}

}  // namespace

std::vector<uint8_t> EncodeLockTokenRecord(const LockTokenRecord& record) {
  std::vector<uint8_t> out;
  out.reserve(record.path.size() + record.token.size() + 8);
  AppendPiece(&out, record.path);
  AppendPiece(&out, record.token);
  return out;
}

bool DecodeLockTokenRecord(const std::vector<uint8_t>& bytes, LockTokenRecord* record) {
  LockTokenRecord decoded;
  size_t at = 0;
  if (!TakePiece(bytes, &at, &decoded.path) || !TakePiece(bytes, &at, &decoded.token) ||
      at != bytes.size())
    return false;
  *record = std::move(decoded);
  return true;
}

}  // namespace qbrk
