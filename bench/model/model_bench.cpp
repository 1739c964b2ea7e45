// Requests per second of the model of the service against the emulator in process, for the
// simulation's everyday mix: PUT, PROPPATCH, GET and a Depth 1 PROPFIND of a folder of 20
// files of 1 KiB. Two ways:
//   handler: the requests, made once, handed to the service again and again: the service's
//            own cost, which is what the model replaces;
//   session: our client's operations (Upload, SetLastModified, Download, ListFolder) through
//            ServerSession and the in-memory transport: what a simulation pays in all, the
//            client's own work (framing, spooling and parsing answers) included.
// The two services take turns in short slices, so that other work on the machine weighs on
// both alike; the emulator keeps its data in /dev/shm (tmpfs) when there is one. Prints
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

constexpr int kSlices = 10;
constexpr double kSliceSeconds = 0.3;
constexpr int kFiles = 20;
constexpr double kLimit = 5.0;
constexpr char kFolder[] = "/~bench@example.jp/file/dir/";
constexpr char kAuth[] = "Basic YmVuY2hAZXhhbXBsZS5qcDpzZWNyZXQ=";  // bench@example.jp:secret
constexpr char kDate[] = "Sat, 03 Feb 2001 04:05:06 GMT";
constexpr uint64_t kFileTime = 126256467060000000ULL;  // the same time

using Clock = std::chrono::steady_clock;

std::string Name(int i) {
  return "f" + std::to_string(i % kFiles) + ".bin";
}

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "%s failed\n", what.c_str());
  std::exit(2);
}

// One way of sending the mix to one service: a round is four requests.
class Load {
 public:
  virtual ~Load() = default;
  virtual void Round(int i) = 0;

  // Rounds for a slice of time; what they took is added to the totals.
  void Slice() {
    const auto start = Clock::now();
    double elapsed = 0;
    while (elapsed < kSliceSeconds) {
      Round(rounds_++);
      elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    }
    seconds_ += elapsed;
  }
  double rate() const { return rounds_ * 4 / seconds_; }

 private:
  int rounds_ = 0;
  double seconds_ = 0;
};

// Our client's operations, each through a session of its own.
class SessionLoad final : public Load {
 public:
  explicit SessionLoad(RequestHandler handler) {
    http_.set_recording(false);
    http_.set_handler(std::move(handler));
    twin_.files.WriteWholeFile("C:\\up.bin", std::string(1024, 'x'));
    if (MakeFolder(*Session(), kFolder) != 0) Fail("MKCOL");
  }

  void Round(int i) override {
    auto s = Session();
    const std::string path = kFolder + Name(i);
    const Listing* listing = nullptr;
    if (Upload(*s, "C:\\up.bin", path) != 0 || SetLastModified(*s, kFileTime, path) != 0 ||
        Download(*s, path, "C:\\down.bin", nullptr) != 0 ||
        ListFolder(*s, kFolder, &listing) != 0) {
      Fail("an operation");
    }
  }

 private:
  std::unique_ptr<ServerSession> Session() {
    auto s = std::make_unique<ServerSession>(twin_.env, http_, nullptr, SessionOptions{});
    s->OpenSession("127.0.0.1", 8080, "bench@example.jp", "secret");
    return s;
  }

  testing::TwinEnv twin_;
  MemoryHttpTransport http_;
};

// The same requests, made once, handed to the service directly.
class HandlerLoad final : public Load {
 public:
  explicit HandlerLoad(RequestHandler handler) : handler_(std::move(handler)) {
    Send(Request("MKCOL", kFolder, ""));
    const std::string patch =
        std::string(
            "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propertyupdate xmlns:D=\"DAV:\">"
            "<D:set><D:prop><D:getlastmodified>") +
        kDate + "</D:getlastmodified></D:prop></D:set></D:propertyupdate>";
    const std::string listing =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?><propfind xmlns=\"DAV:\"><prop>"
        "<getcontentlength/><getlastmodified/></prop></propfind>";
    for (int i = 0; i < kFiles; ++i) {
      const std::string path = kFolder + Name(i);
      requests_.push_back(Request("PUT", path, std::string(1024, 'x')));
      requests_.push_back(Request("PROPPATCH", path, patch));
      requests_.push_back(Request("GET", path, ""));
      requests_.push_back(Request("PROPFIND", kFolder, listing, {{"Depth", "1"}}));
    }
  }

  void Round(int i) override {
    for (int k = 0; k < 4; ++k)
      Send(requests_[static_cast<size_t>((i % kFiles) * 4 + k)]);
  }

 private:
  // As our client frames it.
  static HandlerRequest Request(std::string method, std::string path, std::string body,
                                std::vector<std::pair<std::string, std::string>> more = {}) {
    HandlerRequest r{std::move(method),
                     std::move(path),
                     {{"Accept-Charset", "Shift_JIS"},
                      {"Cache-Control", "no-store"},
                      {"Pragma", "no-cache"},
                      {"Connection", "close"},
                      {"Authorization", kAuth}},
                     std::move(body)};
    r.headers.insert(r.headers.end(), more.begin(), more.end());
    return r;
  }

  void Send(const HandlerRequest& r) {
    if (handler_(r).status >= 300) Fail(r.method + " " + r.path);
  }

  RequestHandler handler_;
  std::vector<HandlerRequest> requests_;
};

class Emulator {
 public:
  Emulator() {
    // In memory (tmpfs) when the machine has it: the emulator at its fastest.
    std::string pattern = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    pattern += "/qbrk-bench-model-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) Fail("mkdtemp");
    dir_ = pattern;
    emulator::EmulatorConfig config;
    config.data_dir = dir_;
    config.accounts = {{"bench@example.jp", "secret"}};
    std::string error;
    service_ = emulator::Service::Create(config, &error);
    if (!service_) Fail("the emulator: " + error);
  }
  ~Emulator() {
    service_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }

  RequestHandler Handler() {
    return [this](const HandlerRequest& r) {
      emulator::BufferedResponse answer = service_->Handle(r.method, r.path, r.headers, r.body);
      return HandlerResponse{static_cast<uint32_t>(answer.status), std::move(answer.headers),
                             std::move(answer.body)};
    };
  }

 private:
  std::string dir_;
  std::unique_ptr<emulator::Service> service_;
};

model::ModelConfig BenchConfig() {
  model::ModelConfig config;
  config.user = "bench@example.jp";
  config.password = "secret";
  return config;
}

// Model and emulator in turns; their rates.
template <typename L>
std::pair<double, double> Compare() {
  model::ModelService model(BenchConfig());
  Emulator emulator;
  L by_model(model.Handler());
  L by_emulator(emulator.Handler());
  for (int i = 0; i < kSlices; ++i) {
    by_model.Slice();
    by_emulator.Slice();
  }
  return {by_model.rate(), by_emulator.rate()};
}

}  // namespace
}  // namespace qbrk

int main(int argc, char** argv) {
  using namespace qbrk;
  SetLoggingLevel(0);
  // "handler" or "session": the model alone that way, to be profiled.
  const std::string only = argc > 1 ? argv[1] : "";
  if (only == "handler" || only == "session") {
    model::ModelService model(BenchConfig());
    std::unique_ptr<Load> load;
    if (only == "handler") {
      load = std::make_unique<HandlerLoad>(model.Handler());
    } else {
      load = std::make_unique<SessionLoad>(model.Handler());
    }
    for (int i = 0; i < kSlices; ++i)
      load->Slice();
    std::printf("%s_model=%.0f/s\n", only.c_str(), load->rate());
    return 0;
  }
  const auto [handler_model, handler_emulator] = Compare<HandlerLoad>();
  const auto [session_model, session_emulator] = Compare<SessionLoad>();
  const double ratio = handler_model / handler_emulator;
  std::printf(
      "BENCH model ratio=%.1f handler_model=%.0f/s handler_emulator=%.0f/s (limit %.0f) "
      "session_model=%.0f/s session_emulator=%.0f/s session_ratio=%.1f\n",
      ratio, handler_model, handler_emulator, kLimit, session_model, session_emulator,
      session_model / session_emulator);
  return ratio >= kLimit ? 0 : 1;
}
