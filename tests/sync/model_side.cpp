#include "model/model_service.h"
#include "server_side.h"

namespace qbrk::testing {
namespace {

constexpr uint64_t kUnixEpochFileTime = 116444736000000000ULL;
constexpr uint64_t kSecond = 10000000ULL;

uint64_t ToFileTime(time_t seconds) {
  return kUnixEpochFileTime + static_cast<uint64_t>(seconds) * kSecond;
}

// The in-memory model of the service; its clock stands at the scenarios' base time.
class ModelSide final : public ServerSide {
 public:
  ModelSide() { model_.set_now(ToFileTime(1015319223)); }

  HandlerResponse Handle(const HandlerRequest& request) override { return model_.Handle(request); }

  void PutFile(const std::string& path, const std::string& content, time_t modified) override {
    MakeParents(path);
    model_.PutFile(path, content, ToFileTime(modified));
  }

  void MakeFolder(const std::string& path) override {
    MakeParents(path + "/");
    model_.MakeFolder(path, model_.Now());
  }

  void Remove(const std::string& path) override { model_.Remove(path); }

  ServerTree Tree() override {
    ServerTree tree;
    for (const auto& [path, entry] : model_.List()) {
      ServerItem item;
      item.folder = entry.folder;
      item.content = entry.bytes;
      item.modified = static_cast<time_t>((entry.time - kUnixEpochFileTime) / kSecond);
      tree[entry.folder ? path + "/" : path] = item;
    }
    return tree;
  }

  model::ModelService& model() { return model_; }

 private:
  // Makes every folder on the way to `path` (the model wants its parents first).
  void MakeParents(const std::string& path) {
    for (size_t slash = path.find('/'); slash != std::string::npos;
         slash = path.find('/', slash + 1))
      model_.MakeFolder(path.substr(0, slash), model_.Now());
  }

  model::ModelService model_;
};

}  // namespace

std::unique_ptr<ServerSide> MakeModelSide() { return std::make_unique<ModelSide>(); }

}  // namespace qbrk::testing
