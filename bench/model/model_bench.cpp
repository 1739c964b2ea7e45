// Requests per second of the model of the service against the emulator in process, for the
// simulation's everyday mix: PUT, PROPPATCH, GET and a Depth 1 PROPFIND of a folder of 20
// files of 1 KiB. Two ways:
//   handler: the requests, made once, handed to the service again and again: the service's
//            own cost, which is what the model replaces;
//   session: our client's operations (Upload, SetLastModified, Download, ListFolder) through
//            ServerSession and the in-memory transport: what a simulation pays in all, the
//            client's own work (framing, spooling and parsing answers) included.
// Each side runs for a fixed time and counts the requests answered; the emulator keeps its
// data in /dev/shm (tmpfs) when there is one. Prints
//   BENCH model ratio=<model/emulator, handler> handler_model=... handler_emulator=...
//   (limit 5) session_model=... session_emulator=... session_ratio=...
// and fails when the handler ratio is below 5.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "diag/error_log.h"
#include "emulator/service.h"
#include "model/model_service.h"
#include "platform/memory/memory_http_transport.h"
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/transfer.h"
#include "tests/unit/settings/twin_env.h"

namespace qbrk {
namespace {

constexpr double kSeconds = 3.0;
constexpr int kFiles = 20;
constexpr double kLimit = 5.0;
constexpr char kFolder[] = "/~bench@example.jp/file/dir/";
constexpr char kAuth[] = "Basic YmVuY2hAZXhhbXBsZS5qcDpzZWNyZXQ=";  // bench@example.jp:secret
constexpr char kDate[] = "Sat, 03 Feb 2001 04:05:06 GMT";
constexpr uint64_t kFileTime = 126256467060000000ULL;  // the same time

using Clock = std::chrono::steady_clock;

// Rounds of `round` (each `per_round` requests) for kSeconds; requests per second.
double Rate(int per_round, const std::function<void(int)>& round) {
  const auto start = Clock::now();
  int rounds = 0;
  double elapsed = 0;
  while (elapsed < kSeconds) {
    round(rounds++);
    elapsed = std::chrono::duration<double>(Clock::now() - start).count();
  }
  return rounds * per_round / elapsed;
}

std::string Name(int i) {
  return "f" + std::to_string(i % kFiles) + ".bin";
}

double SessionRate(const RequestHandler& handler) {
  SetLoggingLevel(0);
  testing::TwinEnv twin;
  MemoryHttpTransport http;
  http.set_recording(false);
  http.set_handler(handler);
  twin.files.WriteWholeFile("C:\\up.bin", std::string(1024, 'x'));
  auto session = [&] {
    auto s = std::make_unique<ServerSession>(twin.env, http, nullptr, SessionOptions{});
    s->OpenSession("127.0.0.1", 8080, "bench@example.jp", "secret");
    return s;
  };
  {
    auto s = session();
    MakeFolder(*s, kFolder);
  }
  return Rate(4, [&](int i) {
    auto s = session();
    const std::string path = kFolder + Name(i);
    const Listing* listing = nullptr;
    if (Upload(*s, "C:\\up.bin", path) != 0 || SetLastModified(*s, kFileTime, path) != 0 ||
        Download(*s, path, "C:\\down.bin", nullptr) != 0 ||
        ListFolder(*s, kFolder, &listing) != 0) {
      std::fprintf(stderr, "an operation failed\n");
      std::exit(2);
    }
  });
}

double HandlerRate(const RequestHandler& handler) {
  const std::vector<std::pair<std::string, std::string>> common = {{"Accept-Charset", "Shift_JIS"},
                                                                   {"Cache-Control", "no-store"},
                                                                   {"Pragma", "no-cache"},
                                                                   {"Connection", "close"},
                                                                   {"Authorization", kAuth}};
  auto request = [&](std::string method, std::string path, std::string body,
                     std::vector<std::pair<std::string, std::string>> more = {}) {
    HandlerRequest r{std::move(method), std::move(path), common, std::move(body)};
    r.headers.insert(r.headers.end(), more.begin(), more.end());
    return r;
  };
  auto send = [&](const HandlerRequest& r) {
    if (handler(r).status >= 300) {
      std::fprintf(stderr, "%s %s failed\n", r.method.c_str(), r.path.c_str());
      std::exit(2);
    }
  };
  send(request("MKCOL", kFolder, ""));
  // The requests are made once, so that the loop measures the service alone.
  const std::string patch =
      std::string(
          "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propertyupdate xmlns:D=\"DAV:\">"
          "<D:set><D:prop><D:getlastmodified>") +
      kDate + "</D:getlastmodified></D:prop></D:set></D:propertyupdate>";
  const std::string listing =
      "<?xml version=\"1.0\" encoding=\"utf-8\" ?><propfind xmlns=\"DAV:\"><prop>"
      "<getcontentlength/><getlastmodified/></prop></propfind>";
  std::vector<HandlerRequest> rounds;
  for (int i = 0; i < kFiles; ++i) {
    const std::string path = kFolder + Name(i);
    rounds.push_back(request("PUT", path, std::string(1024, 'x')));
    rounds.push_back(request("PROPPATCH", path, patch));
    rounds.push_back(request("GET", path, ""));
    rounds.push_back(request("PROPFIND", kFolder, listing, {{"Depth", "1"}}));
  }
  return Rate(4, [&](int i) {
    for (int k = 0; k < 4; ++k)
      send(rounds[static_cast<size_t>((i % kFiles) * 4 + k)]);
  });
}

struct Emulator {
  Emulator() {
    // In memory (tmpfs) when the machine has it: the emulator at its fastest.
    std::string pattern = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    pattern += "/qbrk-bench-model-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) std::exit(2);
    dir = pattern;
    emulator::EmulatorConfig config;
    config.data_dir = dir;
    config.accounts = {{"bench@example.jp", "secret"}};
    std::string error;
    service = emulator::Service::Create(config, &error);
    if (!service) {
      std::fprintf(stderr, "emulator: %s\n", error.c_str());
      std::exit(2);
    }
  }
  ~Emulator() {
    service.reset();
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  }
  RequestHandler Handler() {
    return [this](const HandlerRequest& r) {
      emulator::BufferedResponse answer = service->Handle(r.method, r.path, r.headers, r.body);
      return HandlerResponse{static_cast<uint32_t>(answer.status), std::move(answer.headers),
                             std::move(answer.body)};
    };
  }
  std::string dir;
  std::unique_ptr<emulator::Service> service;
};

model::ModelConfig BenchConfig() {
  model::ModelConfig config;
  config.user = "bench@example.jp";
  config.password = "secret";
  return config;
}

}  // namespace
}  // namespace qbrk

int main(int argc, char** argv) {
  using namespace qbrk;
  // "handler" or "session": the model alone that way, to be profiled.
  const std::string only = argc > 1 ? argv[1] : "";
  if (only == "handler" || only == "session") {
    model::ModelService model(BenchConfig());
    const double rate =
        only == "handler" ? HandlerRate(model.Handler()) : SessionRate(model.Handler());
    std::printf("%s_model=%.0f/s\n", only.c_str(), rate);
    return 0;
  }
  double model_session, emulator_session, model_handler, emulator_handler;
  {
    model::ModelService model(BenchConfig());
    model_session = SessionRate(model.Handler());
  }
  {
    Emulator emulator;
    emulator_session = SessionRate(emulator.Handler());
  }
  {
    model::ModelService model(BenchConfig());
    model_handler = HandlerRate(model.Handler());
  }
  {
    Emulator emulator;
    emulator_handler = HandlerRate(emulator.Handler());
  }
  const double ratio = model_handler / emulator_handler;
  std::printf(
      "BENCH model ratio=%.1f handler_model=%.0f/s handler_emulator=%.0f/s (limit %.0f) "
      "session_model=%.0f/s session_emulator=%.0f/s session_ratio=%.1f\n",
      ratio, model_handler, emulator_handler, kLimit, model_session, emulator_session,
      model_session / emulator_session);
  return ratio >= kLimit ? 0 : 1;
}
