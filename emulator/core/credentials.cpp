#include "credentials.h"

#include "ascii_case.h"
#include "base64.h"

namespace qbrk::emulator {

Checked<Credentials> ParseBasicCredentials(std::optional<std::string_view> authorization) {
  if (!authorization) return Refusal{401, "credentials required"};
  const size_t space = authorization->find(' ');
  if (space == std::string_view::npos ||
      !EqualsIgnoringAsciiCase(authorization->substr(0, space), "Basic")) {
    return Refusal{401, "only Basic authentication is offered"};
  }
  std::string_view encoded = authorization->substr(space + 1);
  while (!encoded.empty() && encoded.front() == ' ')
    encoded.remove_prefix(1);
  const auto decoded = DecodeBase64(encoded);
  if (!decoded) return Refusal{400, "the Basic credentials are not base64"};
  const size_t colon = decoded->find(':');
  if (colon == std::string::npos) return Refusal{400, "the Basic credentials lack a colon"};
  return Credentials{decoded->substr(0, colon), decoded->substr(colon + 1)};
}

}  // namespace qbrk::emulator
