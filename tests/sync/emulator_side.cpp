#ifdef QBRK_WITH_EMULATOR
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "emulator/service.h"
#include "server_side.h"

namespace qbrk::testing {
namespace {

namespace fs = std::filesystem;

class EmulatorSide final : public ServerSide {
 public:
  EmulatorSide() {
    char dir[] = "/tmp/qbrk-sync-XXXXXX";
    if (mkdtemp(dir)) data_ = dir;
    emulator::EmulatorConfig config;
    config.data_dir = data_;
    config.accounts = {{kAccount, kPassword}};
    std::string error;
    service_ = emulator::Service::Create(config, &error);
    disk_ = data_ + "/accounts/" + kAccount;
  }
  ~EmulatorSide() override {
    service_.reset();
    std::error_code ignored;
    if (!data_.empty()) fs::remove_all(data_, ignored);
  }

  HandlerResponse Handle(const HandlerRequest& r) override {
    emulator::BufferedResponse answer = service_->Handle(r.method, r.path, r.headers, r.body);
    HandlerResponse out{static_cast<uint32_t>(answer.status), answer.headers, answer.body};
    out.connection_cut = answer.connection_cut;
    return out;
  }

  void PutFile(const std::string& path, const std::string& content, time_t modified) override {
    const fs::path full = disk_ + "/" + path;
    fs::create_directories(full.parent_path());
    std::ofstream(full, std::ios::binary | std::ios::trunc) << content;
    const struct timespec times[2] = {{modified, 0}, {modified, 0}};
    ::utimensat(AT_FDCWD, full.c_str(), times, 0);
  }

  void MakeFolder(const std::string& path) override { fs::create_directories(disk_ + "/" + path); }

  void Remove(const std::string& path) override {
    std::error_code ignored;
    fs::remove_all(disk_ + "/" + path, ignored);
  }

  ServerTree Tree() override {
    ServerTree tree;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(disk_, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
      std::string rel = it->path().string().substr(disk_.size() + 1);
      ServerItem item;
      struct stat info {};
      ::stat(it->path().c_str(), &info);
      item.modified = info.st_mtime;
      if (it->is_directory()) {
        item.folder = true;
        rel += "/";
      } else {
        std::ifstream in(it->path(), std::ios::binary);
        item.content.assign(std::istreambuf_iterator<char>(in), {});
      }
      tree[rel] = item;
    }
    return tree;
  }

 private:
  std::string data_;
  std::string disk_;
  std::unique_ptr<emulator::Service> service_;
};

}  // namespace

std::unique_ptr<ServerSide> MakeEmulatorSide() { return std::make_unique<EmulatorSide>(); }

}  // namespace qbrk::testing
#else
#include "server_side.h"

namespace qbrk::testing {
std::unique_ptr<ServerSide> MakeEmulatorSide() { return nullptr; }
}  // namespace qbrk::testing
#endif

namespace qbrk::testing {

std::unique_ptr<ServerSide> MakeServerSide(ServerKind kind) {
  return kind == ServerKind::kEmulator ? MakeEmulatorSide() : MakeModelSide();
}

std::vector<ServerKind> AvailableServerKinds() {
#ifdef QBRK_WITH_EMULATOR
  return {ServerKind::kEmulator, ServerKind::kModel};
#else
  return {ServerKind::kModel};
#endif
}

std::string ServerKindName(ServerKind kind) {
  return kind == ServerKind::kEmulator ? "Emulator" : "Model";
}

}  // namespace qbrk::testing
