// The service on a real socket: HTTP (or HTTPS) through libmicrohttpd, one thread per
// connection, so that a request held back by a fault delays nobody else.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "service.h"

struct MHD_Daemon;

namespace qbrk::emulator {

struct ServerOptions {
  std::string host = "127.0.0.1";  // loopback only
  uint16_t port = 0;               // 0: any free port
  bool log_requests = false;       // one line per request on stderr
  // HTTPS when both are given (PEM text).
  std::string cert_pem;
  std::string key_pem;
};

class HttpServer {
 public:
  // Listens and tells the service its address; nothing and *error on failure.
  static std::unique_ptr<HttpServer> Start(Service& service, const ServerOptions& options,
                                           std::string* error);
  ~HttpServer();

  uint16_t port() const { return port_; }
  // "http://127.0.0.1:PORT" or "https://..."
  const std::string& base_url() const { return base_url_; }
  // Stops listening and waits for the connections to end. Called by the destructor.
  void Stop();

  Service& service() { return service_; }
  bool log_requests() const { return options_.log_requests; }
  // Requests whose connection broke off before they were answered and sent.
  uint64_t broken_requests() const { return broken_requests_; }
  void CountBroken() { ++broken_requests_; }

 private:
  HttpServer(Service& service, ServerOptions options)
      : service_(service), options_(std::move(options)) {}

  Service& service_;
  ServerOptions options_;
  MHD_Daemon* daemon_ = nullptr;
  uint16_t port_ = 0;
  std::string base_url_;
  std::atomic<uint64_t> broken_requests_{0};
};

// Whether host is an IPv4 loopback address (127.x.x.x).
bool IsLoopbackAddress(const std::string& host);

}  // namespace qbrk::emulator
