// The certificate and key for HTTPS.
#pragma once

#include <string>

#include "config.h"

namespace qbrk::emulator {

// Reads the configured files, or the pair kept in state_dir/tls, creating that pair with
// openssl (a self-signed certificate for 127.0.0.1 and localhost) when it is missing.
bool LoadCertificate(const EmulatorConfig& config, const std::string& state_dir,
                     std::string* cert_pem, std::string* key_pem, std::string* error);

}  // namespace qbrk::emulator
