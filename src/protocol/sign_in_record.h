// The record a worker hands to its dialog with message 1090 to ask for credentials (the
// sign-in dialog, or with `proxy` set the proxy sign-in dialog). The dialog fills the record
// and sets the answer word to 1 when the user confirmed.
#pragma once

#include <cstdint>
#include <string>

namespace qbrk {

struct SignInRecord {
  std::string user;  // mail address, or the proxy's user name
  std::string password;
  uint32_t remember = 1;  // remember the password
  uint32_t proxy = 0;     // ask for the proxy's credentials
};

}  // namespace qbrk
