// Basic authentication, sent by the client with every request.
#pragma once

#include "accounts.h"
#include "core/checked.h"
#include "core/credentials.h"
#include "http_message.h"

namespace qbrk::emulator {

// The account named and proven by the Authorization header. A missing header, another
// scheme or wrong credentials give 401; a header that cannot be decoded gives 400.
Checked<Account*> Authenticate(AccountTable& accounts, const Headers& headers);

// The 401 answer with its challenge.
Response Unauthorized(const Refusal& refusal);

}  // namespace qbrk::emulator
