#include "model_harness.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>

#include "common/file_time.h"
#include "emulator/core/percent_encoding.h"
#include "emulator/service.h"
#include "emulator/service_state.h"
#include "model/model_faults.h"

namespace qbrk::testing {

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kUnixEpochFileTime = 116444736000000000ULL;
// 2024-05-01 12:00:00 UTC: the model's clock in the suite.
constexpr uint64_t kModelStart = 133590384000000000ULL;

class ModelUnderTest final : public ServiceUnderTest {
 public:
  explicit ModelUnderTest(bool real_clock) : model_(Config()) {
    if (real_clock) {
      model_.set_clock(&RealNow);
    } else {
      model_.set_now(kModelStart);
    }
  }

  HandlerResponse Handle(const HandlerRequest& request) override {
    if (pending_ && request.method == fault_method_ &&
        emulator::PercentDecode(request.path) == kModelRoot + fault_rel_) {
      pending_ = false;
      return model::HandleWithFault(model_, request, fault_);
    }
    return model_.Handle(request);
  }
  void PutFile(const std::string& path, const std::string& bytes, uint64_t time) override {
    EXPECT_TRUE(model_.PutFile(path, bytes, time)) << path;
  }
  void MakeFolder(const std::string& path, uint64_t time) override {
    EXPECT_TRUE(model_.MakeFolder(path, time)) << path;
  }
  model::Tree Tree() override { return model_.List(); }
  std::string HoldLock(const std::string& path, int64_t seconds, bool infinite) override {
    model::LockOptions options;
    options.seconds = seconds;
    options.infinite = infinite;
    return model_.HoldLock(path, options);
  }
  void ReleaseLocks() override { model_.ReleaseLocks(); }
  void SetQuota(uint64_t bytes) override { model_.set_quota(bytes); }
  void InjectFault(const std::string& method, const std::string& rel,
                   const std::string& rule) override {
    const size_t eq = rule.find('=');
    const std::string key = rule.substr(0, eq);
    const auto value = static_cast<uint32_t>(std::stoul(rule.substr(eq + 1)));
    fault_ = model::Fault();
    if (key == "status") {
      fault_.kind = model::FaultKind::kStatus;
      fault_.status = value;
    } else if (key == "cut-request") {
      fault_.kind = model::FaultKind::kCutRequest;
    } else {
      ASSERT_EQ(key, "cut-response");
      fault_.kind = model::FaultKind::kCutResponse;
      fault_.keep_bytes = value;
    }
    fault_method_ = method;
    fault_rel_ = rel;
    pending_ = true;
  }
  void Advance(int64_t seconds) override { model_.Advance(seconds); }
  bool IsNow(uint64_t file_time) override { return file_time == model_.Now(); }

 private:
  static model::ModelConfig Config() {
    model::ModelConfig config;
    config.user = kModelUser;
    config.password = kModelPassword;
    config.preferred_host = kPreferredHost;
    return config;
  }
  model::ModelService model_;
  bool pending_ = false;
  std::string fault_method_;
  std::string fault_rel_;
  model::Fault fault_;
};

timespec FileTimeToTimespec(uint64_t file_time) {
  return timespec{static_cast<time_t>((file_time - kUnixEpochFileTime) / kFileTimeTicksPerSecond),
                  0};
}

uint64_t ModifiedFileTime(const std::string& path) {
  struct stat st {};
  if (::lstat(path.c_str(), &st) != 0) return 0;
  return kUnixEpochFileTime + static_cast<uint64_t>(st.st_mtim.tv_sec) * kFileTimeTicksPerSecond;
}

void SetModified(const std::string& path, uint64_t file_time) {
  const timespec times[2] = {{0, UTIME_OMIT}, FileTimeToTimespec(file_time)};
  ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

class EmulatorUnderTest final : public ServiceUnderTest {
 public:
  EmulatorUnderTest() {
    char pattern[] = "/tmp/qbrk-model-contract-XXXXXX";
    if (::mkdtemp(pattern)) dir_ = pattern;
    emulator::EmulatorConfig config;
    config.data_dir = dir_;
    config.accounts = {{kModelUser, kModelPassword}};
    config.preferred_host = kPreferredHost;
    config.control = true;
    std::string error;
    service_ = emulator::Service::Create(config, &error);
    disk_ = dir_ + "/accounts/" + kModelUser;
  }
  ~EmulatorUnderTest() override {
    service_.reset();
    std::error_code ignored;
    if (!dir_.empty()) fs::remove_all(dir_, ignored);
  }

  HandlerResponse Handle(const HandlerRequest& request) override {
    // Without the query, as the emulator's HTTP server hands a path over.
    emulator::BufferedResponse r =
        service_->Handle(request.method, request.path.substr(0, request.path.find('?')),
                         request.headers, request.body);
    HandlerResponse answer{static_cast<uint32_t>(r.status), std::move(r.headers),
                           std::move(r.body)};
    answer.connection_cut = r.connection_cut;
    return answer;
  }

  void PutFile(const std::string& path, const std::string& bytes, uint64_t time) override {
    const std::string parent = ParentPath(path);
    const uint64_t parent_time = ModifiedFileTime(parent);
    {
      std::ofstream out(disk_ + "/" + path, std::ios::binary | std::ios::trunc);
      out << bytes;
      EXPECT_TRUE(out.good()) << path;
    }
    SetModified(disk_ + "/" + path, time);
    SetModified(parent, parent_time);
    Remeasure();
  }

  void MakeFolder(const std::string& path, uint64_t time) override {
    const std::string parent = ParentPath(path);
    const uint64_t parent_time = ModifiedFileTime(parent);
    EXPECT_EQ(::mkdir((disk_ + "/" + path).c_str(), 0755), 0) << path;
    SetModified(disk_ + "/" + path, time);
    SetModified(parent, parent_time);
  }

  model::Tree Tree() override {
    model::Tree tree;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(disk_, error);
         it != fs::recursive_directory_iterator(); it.increment(error)) {
      const std::string full = it->path().string();
      model::TreeEntry entry;
      entry.folder = it->is_directory();
      entry.time = ModifiedFileTime(full);
      if (!entry.folder) {
        std::ifstream in(full, std::ios::binary);
        entry.bytes.assign(std::istreambuf_iterator<char>(in), {});
      }
      tree.emplace(full.substr(disk_.size() + 1), std::move(entry));
    }
    return tree;
  }

  std::string HoldLock(const std::string& path, int64_t seconds, bool infinite) override {
    std::string line = std::string(kModelRoot) + path + " timeout=" + std::to_string(seconds);
    if (infinite) line += " depth=infinity";
    emulator::BufferedResponse r = service_->Handle("POST", "/_emulator/locks", {}, line);
    if (r.status == 423) return {};
    EXPECT_EQ(r.status, 200) << r.body;
    std::string token = r.body;
    while (!token.empty() && token.back() == '\n')
      token.pop_back();
    return token;
  }

  void ReleaseLocks() override {
    EXPECT_EQ(service_->Handle("DELETE", "/_emulator/locks", {}, {}).status, 200);
  }

  void SetQuota(uint64_t bytes) override {
    const std::string line = std::string("quota=") + kModelUser + " " + std::to_string(bytes);
    emulator::BufferedResponse r = service_->Handle("POST", "/_emulator/settings", {}, line);
    EXPECT_EQ(r.status, 200) << r.body;
  }

  void InjectFault(const std::string& method, const std::string& rel,
                   const std::string& rule) override {
    const std::string line = method + " " + kModelRoot + rel + " " + rule + " times=1";
    emulator::BufferedResponse r = service_->Handle("POST", "/_emulator/faults", {}, line);
    EXPECT_EQ(r.status, 200) << r.body;
  }

  void Advance(int64_t seconds) override { service_->AdvanceClock(seconds); }

  bool IsNow(uint64_t file_time) override {
    // Requests under the sanitizers take well below a second; five keep the check stable on
    // a loaded machine.
    const uint64_t now = RealNow();
    return file_time <= now && file_time + 5 * kFileTimeTicksPerSecond >= now;
  }

  std::string missing() override { return service_ ? "" : "the emulator could not start"; }

 private:
  std::string ParentPath(const std::string& path) const {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? disk_ : disk_ + "/" + path.substr(0, slash);
  }

  // The emulator measures an account's use at start and keeps it up to date from then on;
  // files put in by hand are counted again.
  void Remeasure() {
    emulator::ServiceState& state = service_->state();
    std::lock_guard<std::mutex> lock(state.mu);
    emulator::Account* account = state.accounts.Find(kModelUser);
    account->used = account->disk.TreeBytes("");
  }

  std::string dir_;
  std::string disk_;
  std::unique_ptr<emulator::Service> service_;
};

}  // namespace

std::unique_ptr<ServiceUnderTest> MakeModelUnderTest() {
  return std::make_unique<ModelUnderTest>(false);
}

std::unique_ptr<ServiceUnderTest> MakeModelOnRealClock() {
  return std::make_unique<ModelUnderTest>(true);
}

std::unique_ptr<ServiceUnderTest> MakeEmulatorUnderTest() {
  return std::make_unique<EmulatorUnderTest>();
}

uint64_t RealNow() {
  // Not <chrono>: it does not compile with the Shift_JIS execution character set.
  return kUnixEpochFileTime + static_cast<uint64_t>(std::time(nullptr)) * kFileTimeTicksPerSecond;
}

}  // namespace qbrk::testing
