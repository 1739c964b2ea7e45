// The library's side of the transfer benchmark: the settings a user would have (host, port,
// credentials, upload unit; the rest at their defaults, so the request trace is on) go into
// the registry through the settings store, the logs rotate as at a job's start, a
// ServerConnection opens over the real WinINet transport, then Upload sends the file (in
// ranges of the upload unit, under a lock) and Download brings it back.
//   library_transfer PORT USER PASSWORD UNIT REMOTE_NAME SOURCE TARGET
// Prints "up_seconds=S down_seconds=S"; any failure exits with 1 and a reason. The run
// script compares what came back with the source, as it does for every client.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "diag/error_log.h"
#include "platform/registry.h"
#include "platform/win32/win32_env.h"
#include "platform/win32/win32_net.h"
#include "protocol/server_connection.h"
#include "protocol/transfer.h"
#include "settings/registry_values.h"
#include "settings/settings.h"
#include "stopwatch.h"

namespace {

bool StoreSettings(qbrk::Env& env, uint16_t port, const std::string& user,
                   const std::string& password, uint32_t unit) {
  qbrk::Settings settings(env.registry, env.clock);
  const std::string host = "127.0.0.1";
  settings.WriteCredentials(qbrk::CredentialKind::kService, user, password, true);
  return qbrk::WriteRegistryValue(env.registry, qbrk::RegistryRoot::kCurrentUser,
                                  qbrk::kSettingsKey, "Domain", qbrk::reg_type::kString,
                                  host.c_str(), host.size() + 1) &&
         settings.WriteDword("UseSSL", 0) && settings.WriteDword("Port", port) &&
         settings.WriteDword("PutUnit", unit);
}

int Fail(const char* step, qbrk::ResultCode code) {
  std::fprintf(stderr, "library_transfer: %s failed (result %u)\n", step, code);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 8) {
    std::fprintf(stderr,
                 "usage: library_transfer PORT USER PASSWORD UNIT REMOTE_NAME SOURCE TARGET\n");
    return 2;
  }
  qbrk::Env& env = qbrk::Win32Env();
  if (!StoreSettings(env, static_cast<uint16_t>(std::atoi(argv[1])), argv[2], argv[3],
                     static_cast<uint32_t>(std::strtoul(argv[4], nullptr, 10))))
    return Fail("storing the settings", 0);

  // As every job does: with the default logging level the trace of each exchange goes into
  // the log file that this rotation creates.
  qbrk::RotateLogs(env.files);
  qbrk::ServerConnection connection(
      env, qbrk::NetPlatform{qbrk::Win32HttpTransport(), qbrk::Win32DialUp()}, {});
  if (qbrk::ResultCode r = connection.Open()) return Fail("opening the connection", r);
  qbrk::ServerSession& session = *connection.session();
  const std::string remote = connection.root() + argv[5];

  const Stopwatch upload;
  if (qbrk::ResultCode r = qbrk::Upload(session, argv[6], remote)) return Fail("Upload", r);
  const double up = upload.Seconds();

  const Stopwatch download;
  if (qbrk::ResultCode r = qbrk::Download(session, remote, argv[7], nullptr))
    return Fail("Download", r);
  const double down = download.Seconds();
  connection.Close();
  std::printf("up_seconds=%.3f down_seconds=%.3f\n", up, down);
  return 0;
}
