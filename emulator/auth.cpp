#include "auth.h"

#include "core/ascii_case.h"
#include "exchange.h"

namespace qbrk::emulator {

Checked<Account*> Authenticate(AccountTable& accounts, const Headers& headers) {
  auto credentials = ParseBasicCredentials(headers.Get("Authorization"));
  if (!credentials.ok()) return credentials.refusal();
  Account* account = accounts.Find(credentials.value().user);
  if (account == nullptr || account->password != credentials.value().password) {
    return Refusal{401, "wrong user name or password"};
  }
  return account;
}

Response Unauthorized(const Refusal& refusal) {
  Response r = RefusalResponse(refusal);
  if (refusal.status == 401) r.headers.Add("WWW-Authenticate", kBasicChallenge);
  return r;
}

}  // namespace qbrk::emulator
