// quellanbrook-emulator: the local stand-in for the Quellanbrook service.
#include <pthread.h>

#include <csignal>
#include <cstdio>

#include "http_server.h"
#include "options.h"
#include "service.h"
#include "service_state.h"
#include "tls.h"

using qbrk::emulator::EmulatorConfig;

int main(int argc, char** argv) {
  EmulatorConfig config;
  bool help = false;
  std::string error;
  if (!qbrk::emulator::ParseOptions(argc, argv, &config, &help, &error)) {
    std::fputs(qbrk::emulator::UsageText().c_str(), help ? stdout : stderr);
    if (help) return 0;
    std::fprintf(stderr, "quellanbrook-emulator: %s\n", error.c_str());
    return 2;
  }
  // Every thread started from here on leaves SIGTERM and SIGINT to sigwait below.
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGTERM);
  sigaddset(&stop_signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);

  auto service = qbrk::emulator::Service::Create(config, &error);
  if (!service) {
    std::fprintf(stderr, "quellanbrook-emulator: %s\n", error.c_str());
    return 1;
  }
  for (const std::string& warning : service->warnings()) {
    std::fprintf(stderr, "quellanbrook-emulator: %s\n", warning.c_str());
  }
  qbrk::emulator::ServerOptions options;
  options.host = config.listen_host;
  options.port = config.listen_port;
  options.log_requests = config.log_requests;
  if (config.tls && !qbrk::emulator::LoadCertificate(config, service->state().state_dir,
                                                     &options.cert_pem, &options.key_pem, &error)) {
    std::fprintf(stderr, "quellanbrook-emulator: %s\n", error.c_str());
    return 1;
  }
  auto server = qbrk::emulator::HttpServer::Start(*service, options, &error);
  if (!server) {
    std::fprintf(stderr, "quellanbrook-emulator: %s\n", error.c_str());
    return 1;
  }
  std::printf("%s\n", server->base_url().c_str());
  std::fflush(stdout);

  int signal_number = 0;
  sigwait(&stop_signals, &signal_number);
  server->Stop();
  return 0;
}
