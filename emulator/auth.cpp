#include "auth.h"

#include "core/base64.h"
#include "exchange.h"

namespace qbrk::emulator {

Checked<Account*> Authenticate(AccountTable& accounts, const Headers& headers) {
  const auto header = headers.Get("Authorization");
  if (!header) return Refusal{401, "credentials required"};
  const size_t space = header->find(' ');
  if (space == std::string_view::npos ||
      !EqualsIgnoringAsciiCase(header->substr(0, space), "Basic")) {
    return Refusal{401, "only Basic authentication is offered"};
  }
  std::string_view encoded = header->substr(space + 1);
  while (!encoded.empty() && encoded.front() == ' ')
    encoded.remove_prefix(1);
  const auto decoded = DecodeBase64(encoded);
  if (!decoded) return Refusal{400, "the Basic credentials are not base64"};
  const size_t colon = decoded->find(':');
  if (colon == std::string::npos) return Refusal{400, "the Basic credentials lack a colon"};
  Account* account = accounts.Find(std::string_view(*decoded).substr(0, colon));
  if (account == nullptr || account->password != decoded->substr(colon + 1)) {
    return Refusal{401, "wrong user name or password"};
  }
  return account;
}

Response Unauthorized(const Refusal& refusal) {
  Response r = RefusalResponse(refusal);
  if (refusal.status == 401) {
    r.headers.Add("WWW-Authenticate", std::string("Basic realm=\"") + kRealm + "\"");
  }
  return r;
}

}  // namespace qbrk::emulator
