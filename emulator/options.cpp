#include "options.h"

#include <string_view>

#include "core/content_range.h"

namespace qbrk::emulator {

std::string UsageText() {
  return "usage: quellanbrook-emulator --data DIR --account MAIL:PASSWORD [options]\n"
         "  --data DIR              data folder (created when missing)\n"
         "  --listen HOST:PORT      loopback address to listen on (default 127.0.0.1:0,\n"
         "                          port 0 picks a free port)\n"
         "  --account MAIL:PASSWORD an account; repeatable\n"
         "  --quota BYTES           quota of every account (default 5368709120)\n"
         "  --vfs-version V         X-HV-VFS-Version answered (default 2.0; empty: none)\n"
         "  --preferred-host HOST   answered to \"X-HV-PreferredHost: *\" (default none)\n"
         "  --servlet PATH          path of the publishing servlet\n"
         "                          (default /pubhandle/PublicAreaHandleServlet)\n"
         "  --public-url URL        base of public addresses (default the emulator's own)\n"
         "  --max-lock-timeout S    longest lock granted, in seconds (default 604800)\n"
         "  --tls                   HTTPS with a certificate made in DIR/.state/tls\n"
         "  --cert FILE --key FILE  HTTPS with this certificate and key (PEM)\n"
         "  --control               enable the control endpoint /_emulator/\n"
         "  --fault RULE            a fault rule, as posted to /_emulator/faults; repeatable\n"
         "  --hold-lock LINE        a lock held by someone else, as posted to\n"
         "                          /_emulator/locks; repeatable\n"
         "  --log                   log every request on stderr\n"
         "The first line on stdout is the base URL. SIGTERM stops the emulator.\n";
}

bool ParseOptions(int argc, const char* const* argv, EmulatorConfig* config, bool* help,
                  std::string* error) {
  *help = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view flag = argv[i];
    auto value = [&](std::string* out) {
      if (i + 1 >= argc) {
        *error = std::string(flag) + " needs a value";
        return false;
      }
      *out = argv[++i];
      return true;
    };
    std::string text;
    if (flag == "--help" || flag == "-h") {
      *help = true;
      return false;
    } else if (flag == "--log") {
      config->log_requests = true;
    } else if (flag == "--control") {
      config->control = true;
    } else if (flag == "--tls") {
      config->tls = true;
    } else if (!value(&text)) {
      if (error->empty()) *error = "unknown option " + std::string(flag);
      return false;
    } else if (flag == "--data") {
      config->data_dir = text;
    } else if (flag == "--listen") {
      const size_t colon = text.rfind(':');
      const auto port =
          colon == std::string::npos ? std::nullopt : ParseDecimal(text.substr(colon + 1));
      if (!port || *port > 65535 || colon == 0) {
        *error = "--listen wants HOST:PORT";
        return false;
      }
      config->listen_host = text.substr(0, colon);
      config->listen_port = static_cast<uint16_t>(*port);
    } else if (flag == "--account") {
      const size_t colon = text.find(':', text.find('@') == std::string::npos ? 0 : text.find('@'));
      if (colon == std::string::npos || colon == 0) {
        *error = "--account wants MAIL:PASSWORD";
        return false;
      }
      config->accounts.push_back({text.substr(0, colon), text.substr(colon + 1)});
    } else if (flag == "--quota") {
      const auto bytes = ParseDecimal(text);
      if (!bytes) {
        *error = "--quota wants a number of bytes";
        return false;
      }
      config->quota_bytes = *bytes;
    } else if (flag == "--vfs-version") {
      config->vfs_version = text.empty() ? std::nullopt : std::optional<std::string>(text);
    } else if (flag == "--preferred-host") {
      config->preferred_host = text;
    } else if (flag == "--servlet") {
      if (text.empty() || text[0] != '/') {
        *error = "--servlet wants a path";
        return false;
      }
      config->servlet_path = text;
    } else if (flag == "--public-url") {
      config->public_base = text;
    } else if (flag == "--max-lock-timeout") {
      const auto seconds = ParseDecimal(text);
      if (!seconds || *seconds == 0 || *seconds > (1ull << 31)) {
        *error = "--max-lock-timeout wants seconds";
        return false;
      }
      config->max_lock_seconds = static_cast<int64_t>(*seconds);
    } else if (flag == "--cert") {
      config->cert_file = text;
      config->tls = true;
    } else if (flag == "--key") {
      config->key_file = text;
      config->tls = true;
    } else if (flag == "--fault") {
      config->faults.push_back(text);
    } else if (flag == "--hold-lock") {
      config->held_locks.push_back(text);
    } else {
      *error = "unknown option " + std::string(flag);
      return false;
    }
  }
  if (config->data_dir.empty()) *error = "--data is required";
  if (config->accounts.empty() && error->empty()) *error = "at least one --account is required";
  return error->empty();
}

}  // namespace qbrk::emulator
