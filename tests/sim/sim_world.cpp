#include "sim_world.h"

#include "common/mbcs.h"
#include "diag/error_log.h"
#include "sync/sync_table.h"
#include "sync/sync_run.h"

namespace qbrk::sim {

namespace {
constexpr char kLog[] = "C:\\TEMP\\HVQbrook00.log";

void Describe(const FolderNode& folder, const std::string& prefix, Tree* out) {
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f)) {
    Entry entry;
    entry.time = f->record().local_time();
    entry.server_time = f->record().server_time();
    entry.size = f->record().size();
    (*out)[prefix + std::string(f->name())] = entry;
  }
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c)) {
    Entry entry;
    entry.folder = true;
    (*out)[prefix + c->name()] = entry;
    Describe(*c, prefix + c->name() + "/", out);
  }
}
}  // namespace

World::World() {
  http.set_recording(false);
  http.set_handler([this](const HandlerRequest& request) {
    return on_request ? on_request(request) : model.Handle(request);
  });
  twin.files.MakeDirectory(kMirror);
  twin.files.MakeDirectory(kDataFolder);
  // Logging on, with the current file a job's rotation leaves.
  SetLoggingLevel(5);
  twin.files.WriteWholeFile(kLog, "");
}

World::~World() = default;

std::unique_ptr<ServerSession> World::OpenSession() {
  SessionOptions options;
  options.upload_unit = kUploadUnit;
  auto session = std::make_unique<ServerSession>(twin.env, http, nullptr, options);
  session->OpenSession("dav.example.jp", 80, model.config().user, model.config().password);
  session->set_own_owner(model.config().user);
  session->set_disk_root(model.disk_root());
  return session;
}

SyncContext World::Context(ServerSession& session) {
  SyncContext context(twin.env);
  context.session = &session;
  context.mirror = kMirror;
  context.table_path = TablePath();
  return context;
}

std::string World::LocalPath(const std::string& path) const {
  return std::string(kMirror) + "\\" + ReplaceSingleByte(path, '/', '\\');
}

std::string World::TablePath() const { return TableFilePath(kDataFolder); }

Tree World::LocalTreeAsIs() {
  Tree tree;
  const std::string base = std::string(kMirror) + "\\";
  for (const std::string& item : twin.files.List(kMirror)) {
    std::string rel = ReplaceSingleByte(item.substr(base.size()), '\\', '/');
    Entry entry;
    if (rel.back() == '/') {
      rel.pop_back();
      entry.folder = true;
    } else {
      twin.files.ReadWholeFile(item, &entry.content);
      std::unique_ptr<FindHandle> find;
      FindData data;
      if (twin.files.FindFirst(item, &find, &data) == 0) entry.time = data.last_write_time;
      entry.size = entry.content.size();
    }
    tree[rel] = entry;
  }
  return tree;
}

Tree World::LocalTree() {
  Tree tree;
  for (auto& [path, entry] : LocalTreeAsIs()) tree[LowerAscii(path)] = entry;
  return tree;
}

Tree World::ServerTree() {
  Tree tree;
  for (const auto& [path, item] : model.List()) {
    Entry entry;
    entry.folder = item.folder;
    entry.content = item.bytes;
    entry.time = item.time;
    entry.size = item.bytes.size();
    tree[path] = entry;
  }
  return tree;
}

Tree World::RecordTree() {
  Tree tree;
  SyncTable recorded(twin.env);
  if (recorded.LoadTableFile(TablePath()) == 1) Describe(*recorded.root(), "", &tree);
  return tree;
}

std::map<std::string, std::string> World::Outside() {
  std::map<std::string, std::string> out;
  for (const std::string& item : twin.files.List("C:\\")) {
    if (item.rfind(std::string(kMirror) + "\\", 0) == 0 || item == std::string(kMirror) + "\\")
      continue;
    if (item.rfind(std::string(kTempFolder) + "\\", 0) == 0) continue;
    if (item.rfind(TablePath(), 0) == 0) continue;  // the table and the file saved beside it
    std::string content;
    twin.files.ReadWholeFile(item, &content);
    out[item] = content;
  }
  return out;
}

size_t World::TempFiles() {
  size_t count = 0;
  for (const std::string& item : twin.files.List(kTempFolder)) count += item != kLog;
  return count;
}

std::vector<std::string> World::LeftOut() {
  std::string log;
  twin.files.ReadWholeFile(kLog, &log);
  std::vector<std::string> paths;
  const std::string mark = "\" \"SKIPPED\" \"";
  const std::string root = model.disk_root();
  for (size_t at = log.find(mark); at != std::string::npos; at = log.find(mark, at + 1)) {
    const size_t start = at + mark.size();
    const std::string path = log.substr(start, log.find("\"\r\n", start) - start);
    if (path.rfind(root, 0) == 0) paths.push_back(path.substr(root.size()));
  }
  return paths;
}

}  // namespace qbrk::sim
