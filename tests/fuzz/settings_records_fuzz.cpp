// Registry bytes are whatever a user or another program left there: every record decoder
// of the settings store must refuse them cleanly, never read outside them.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "settings/credential_record.h"
#include "settings/lock_token_record.h"
#include "settings/sync_list_layout.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> bytes(data, data + size);
  std::vector<uint8_t> plain;
  qbrk::Credentials credentials;
  if (qbrk::UnscrambleCredentialRecord(bytes, &plain))
    qbrk::ParseCredentialRecord(plain, &credentials);
  qbrk::ParseCredentialRecord(bytes, &credentials);
  qbrk::LockTokenRecord lock;
  qbrk::DecodeLockTokenRecord(bytes, &lock);
  qbrk::SyncListLayout layout;
  qbrk::DecodeSyncListLayout(bytes, &layout);
  return 0;
}
