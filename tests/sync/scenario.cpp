#include "scenario.h"

#include <algorithm>
#include <set>

#include "common/mbcs.h"
#include "diag/error_log.h"
#include "protocol/server_session.h"
#include "sync/planning.h"
#include "sync/sync_run.h"

namespace qbrk::testing {

namespace {
constexpr uint64_t kUnixEpochFileTime = 116444736000000000ULL;

std::string ToLocal(const std::string& path) { return ReplaceSingleByte(path, '/', '\\'); }

// Long contents are shown by their size and a checksum, to keep failure messages readable.
std::string Shown(const std::string& content) {
  if (content.size() <= 40) return content;
  uint32_t sum = 0;
  for (unsigned char c : content) sum = sum * 131 + c;
  return "<" + std::to_string(content.size()) + " bytes #" + std::to_string(sum) + ">";
}

std::string Joined(std::set<std::string> lines) {
  std::string out;
  for (const std::string& line : lines) out += line + "\n";
  return out;
}
}  // namespace

uint64_t FileTimeOf(time_t seconds) {
  return kUnixEpochFileTime + static_cast<uint64_t>(seconds) * kSecond;
}

uint32_t ScriptedPrompt::Ask(ChoiceQuestion question, const std::string& name) {
  asked.emplace_back(question, name);
  if (on_ask) on_ask();
  if (answers.empty()) {
    ADD_FAILURE() << "unexpected question " << static_cast<uint32_t>(question) << " for " << name;
    return answer::kCancel;
  }
  const uint32_t reply = answers.front();
  answers.pop_front();
  return reply;
}

SyncScenario::SyncScenario() : server_(MakeServerSide(GetParam())) {
  SetLoggingLevel(0);
  files_.MakeDirectory(kMirror);
  files_.MakeDirectory(kDataFolder);
  http_.set_handler([this](const HandlerRequest& request) {
    requests_.push_back(request.method + " " + request.path);
    if (intercept_) {
      if (std::unique_ptr<HandlerResponse> fault = intercept_(request)) return *fault;
    }
    return server_->Handle(request);
  });
}

SyncScenario::~SyncScenario() {
  EXPECT_EQ(http_.misuses(), 0u);
  EXPECT_EQ(http_.open_requests(), 0u);
  EXPECT_TRUE(prompt_.answers.empty()) << prompt_.answers.size() << " answers were not asked for";
}

std::string SyncScenario::LocalPath(const std::string& path) const {
  return std::string(kMirror) + "\\" + ToLocal(path);
}

void SyncScenario::LocalFile(const std::string& path, const std::string& content, uint64_t time) {
  const uint64_t now = clock_.Now();
  clock_.SetNow(time);
  ASSERT_TRUE(files_.WriteWholeFile(LocalPath(path), content)) << path;
  clock_.SetNow(now);
}

void SyncScenario::LocalFolder(const std::string& path) {
  std::string at = kMirror;
  for (size_t start = 0; start < path.size();) {
    const size_t end = FindSingleByte(path, '/', start);
    at += "\\" + path.substr(start, end == std::string::npos ? std::string::npos : end - start);
    files_.MakeDirectory(at);
    if (end == std::string::npos) break;
    start = end + 1;
  }
}

void SyncScenario::LocalRemove(const std::string& path) {
  const std::string full = LocalPath(path);
  uint32_t attributes = 0;
  if (files_.GetAttributes(full, &attributes) != 0) return;
  if (!(attributes & file_attr::kDirectory)) {
    files_.SetAttributes(full, file_attr::kNormal);
    files_.RemoveFile(full);
    return;
  }
  std::vector<std::string> below = files_.List(full);
  std::sort(below.rbegin(), below.rend());  // children before their folders
  for (const std::string& item : below) {
    if (item.back() == '\\') {
      files_.RemoveEmptyDirectory(item.substr(0, item.size() - 1));
    } else {
      files_.SetAttributes(item, file_attr::kNormal);
      files_.RemoveFile(item);
    }
  }
  files_.RemoveEmptyDirectory(full);
}

std::string SyncScenario::LocalContent(const std::string& path) {
  std::string content;
  if (!files_.ReadWholeFile(LocalPath(path), &content)) return "<missing>";
  return content;
}

FindData SyncScenario::LocalFind(const std::string& path) {
  std::unique_ptr<FindHandle> find;
  FindData data;
  if (files_.FindFirst(LocalPath(path), &find, &data) != 0) data = FindData{};
  return data;
}

std::string SyncScenario::TablePath() const { return TableFilePath(data_folder_); }

std::unique_ptr<ServerSession> SyncScenario::OpenSession(DialogLink* link) {
  SessionOptions options;
  options.upload_unit = upload_unit_;
  auto session = std::make_unique<ServerSession>(twin_.env, http_, link, options);
  EXPECT_EQ(session->OpenSession("dav.example.jp", 80, kAccount, kPassword), 0u);
  session->set_own_owner(kAccount);
  session->set_disk_root(kDiskRoot);
  return session;
}

SyncContext SyncScenario::Context(ServerSession& session) {
  SyncContext context(twin_.env);
  context.session = &session;
  context.mirror = kMirror;
  context.link = link_;
  context.prompt = &prompt_;
  context.table_path = TablePath();
  return context;
}

ResultCode SyncScenario::Sync() {
  std::unique_ptr<ServerSession> session = OpenSession(link_);
  SyncContext context = Context(*session);
  SyncTable recorded(twin_.env);
  SyncTable plan(twin_.env);
  const ResultCode r = RunSynchronization(context, &recorded, &plan, &stats_);
  error_name_ = context.error_name;
  session->CloseSession();
  return r;
}

bool SyncScenario::HasWork() {
  std::unique_ptr<ServerSession> session = OpenSession();
  SyncContext context = Context(*session);
  context.link = nullptr;
  SyncTable recorded(twin_.env);
  SyncTable plan(twin_.env);
  EXPECT_EQ(BuildPlan(context, &recorded, &plan), 0u);
  session->CloseSession();
  return HasPendingWork(&plan) != 0;
}

std::string SyncScenario::LocalTree() {
  std::set<std::string> lines;
  const std::string base = std::string(kMirror) + "\\";
  for (const std::string& item : files_.List(kMirror)) {
    const std::string rel = ReplaceSingleByte(item.substr(base.size()), '\\', '/');
    if (rel.back() == '/') {
      lines.insert(rel);
    } else {
      std::string content;
      files_.ReadWholeFile(item, &content);
      lines.insert(rel + "=" + Shown(content));
    }
  }
  return Joined(lines);
}

std::string SyncScenario::ServerTreeText() {
  std::set<std::string> lines;
  for (const auto& [path, item] : server_->Tree())
    lines.insert(item.folder ? path : path + "=" + Shown(item.content));
  return Joined(lines);
}

namespace {
void DescribeRecord(const FolderNode& folder, const std::string& prefix, std::set<std::string>* out) {
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f))
    out->insert(prefix + std::string(f->name()) + " " + std::to_string(f->record().size()));
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c)) {
    out->insert(prefix + c->name() + "/");
    DescribeRecord(*c, prefix + c->name() + "/", out);
  }
}
}  // namespace

std::string SyncScenario::RecordTree() {
  SyncTable recorded(twin_.env);
  if (recorded.LoadTableFile(TablePath()) != 1) return "<none>";
  std::set<std::string> lines;
  DescribeRecord(*recorded.root(), "", &lines);
  std::string out;
  for (const std::string& line : lines) out += line + "\n";
  return out;
}

FileRecord SyncScenario::RecordOf(const std::string& path) {
  SyncTable recorded(twin_.env);
  if (recorded.LoadTableFile(TablePath()) != 1) return {};
  FolderNode* folder = recorded.root();
  size_t start = 0;
  for (size_t slash; folder && (slash = FindSingleByte(path, '/', start)) != std::string::npos;
       start = slash + 1)
    folder = folder->FindFolder(std::string_view(path).substr(start, slash - start));
  FileEntry* entry = folder ? folder->FindFile(std::string_view(path).substr(start)) : nullptr;
  return entry ? entry->record().Copy() : FileRecord();
}

void SyncScenario::ExpectInStep() {
  // The mirror's names meet the server's in lower case.
  std::set<std::string> local;
  const std::string tree_text = LocalTree();
  for (size_t p = 0; p < tree_text.size();) {
    const size_t end = tree_text.find('\n', p);
    const std::string line = tree_text.substr(p, end - p);
    const size_t eq = line.find('=');
    local.insert(LowerAscii(line.substr(0, eq)) + (eq == std::string::npos ? "" : line.substr(eq)));
    p = end + 1;
  }
  EXPECT_EQ(Joined(local), ServerTreeText()) << "the two sides differ";
  const ServerTree tree = server_->Tree();
  for (const auto& [path, item] : tree) {
    if (item.folder) continue;
    const FileRecord record = RecordOf(path);
    ASSERT_TRUE(record) << path << " is not recorded";
    EXPECT_EQ(record.size(), item.content.size()) << path;
    EXPECT_EQ(record.server_time(), FileTimeOf(item.modified)) << path;
    EXPECT_EQ(record.local_time(), LocalFind(path).last_write_time) << path;
  }
  EXPECT_FALSE(HasWork()) << "planning again finds work";
}

}  // namespace qbrk::testing
