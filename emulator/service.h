// The emulator of the Quellanbrook service as an in-process request handler.
//
// A transport (the HTTP server in http_server.h, or a test that wants no sockets) hands
// each request to Begin, feeds it the body and sends what Finish answers. Handle does all
// three for a request whose body is already in memory.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "config.h"
#include "exchange.h"
#include "http_message.h"

namespace qbrk::emulator {

struct ServiceState;

// A whole response in memory, as Handle returns it.
struct BufferedResponse {
  int status = 0;
  // The response's headers, Content-Length included.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;  // empty for HEAD
  // The connection would have been dropped after body (a fault rule said so).
  bool connection_cut = false;

  std::string Header(std::string_view name) const;
};

class Service {
 public:
  // Prepares the data folder (creating what is missing) and the accounts; nothing and a
  // message in *error when that fails.
  static std::unique_ptr<Service> Create(const EmulatorConfig& config, std::string* error);
  ~Service();

  // Where the emulator can be reached ("http://127.0.0.1:PORT"), used in public addresses.
  void SetBaseUrl(std::string url);

  // Starts one request. head.target is the path as sent on the wire, without the query.
  std::unique_ptr<Exchange> Begin(RequestHead head);

  // One whole request: method, path as sent on the wire, headers, body.
  BufferedResponse Handle(std::string method, std::string target,
                          std::vector<std::pair<std::string, std::string>> headers,
                          std::string_view body = {});

  // Moves the clock that lock time-outs run on.
  void AdvanceClock(int64_t seconds);
  // Wakes requests held back by a delay fault; used before shutting down.
  void Stop();

  // Warnings met while starting (an unreadable publications file, for example).
  const std::vector<std::string>& warnings() const { return warnings_; }
  ServiceState& state() { return *state_; }

 private:
  Service();
  BufferedResponse HandleWhole(std::string method, std::string target,
                               std::vector<std::pair<std::string, std::string>> headers,
                               std::string_view body);
  std::unique_ptr<ServiceState> state_;
  std::vector<std::string> warnings_;
};

}  // namespace qbrk::emulator
