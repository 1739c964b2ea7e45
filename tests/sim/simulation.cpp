#include "simulation.h"

#include <algorithm>
#include <cstdlib>
#include <set>

#include "common/mbcs.h"
#include "model/model_faults.h"
#include "protocol/server_session.h"
#include "sim_random.h"
#include "sim_world.h"
#include "sync/choice_prompt.h"
#include "sync/planning.h"
#include "sync/sync_run.h"

namespace qbrk::sim {

namespace {

constexpr uint64_t kSecond = 10000000ULL;
constexpr uint64_t kStart = model::kDefaultNow;  // the record was made around this time

// Thrown from the transport to abandon a run where it stands, as a killed process would.
struct Crash {};

// Name parts: ASCII, kanji, "ソ" "表" "能" "十" (trail byte 0x5C), "ポ" (trail byte 0x7C),
// full-width "Ａ" and "ａ" (names only case tells apart).
const std::vector<std::string> kParts = {"a",        "b",        "doc",      "memo",
                                         "\x95\xF1", "\x8E\x91", "\x83\x5C", "\x95\x5C",
                                         "\x94\x5C", "\x8F\x5C", "\x83\x7C", "\x82\x60",
                                         "\x82\x81"};
const std::vector<std::string> kExtensions = {"", ".txt", ".bin", ".txt", ""};

bool IsLeftOutByRule(const std::string& path) {
  // Dot-names and the default excluded extension, in any component.
  for (size_t start = 0; start <= path.size();) {
    size_t end = FindSingleByte(path, '/', start);
    if (end == std::string::npos) end = path.size();
    const std::string name = path.substr(start, end - start);
    if (!name.empty() && name[0] == '.') return true;
    if (name.size() >= 4 && name.compare(name.size() - 4, 4, ".$$$") == 0) return true;
    start = end + 1;
  }
  return false;
}

bool HasAsciiCapital(const std::string& path) { return LowerAscii(path) != path; }

std::string Parent(const std::string& path) {
  const size_t slash = FindLastSingleByte(path, '/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

class Scenario {
 public:
  explicit Scenario(uint64_t seed) : seed_(seed), rng_(seed) {
    world_.model.set_now(kStart);
    world_.on_request = [this](const HandlerRequest& r) { return OnRequest(r); };
  }

  Outcome Run() {
    Sentinels();
    Start();
    Changes();
    // The main run: anything may happen in it.
    RunPlan main;
    main.allow_cancel = rng_.Chance(5);
    main.edits = rng_.Chance(25);
    if (rng_.Chance(35)) {
      main.fault_at = 1 + rng_.Below(15);
      main.fault = RandomFault();
    } else if (rng_.Chance(15)) {
      main.crash_at = 1 + rng_.Below(15);
      main.crash_after = rng_.Chance(50);
    }
    const RunReport first = DoRun(main);
    // A clean run must leave both sides in step; after anything else, the next one must.
    if (first.clean && first.result == 0) {
      CheckConverged(first);
    } else {
      const RunReport second = DoRun(RunPlan{});
      CheckConverged(second);
    }
    return std::move(outcome_);
  }

 private:
  struct RunPlan {
    bool allow_cancel = false;
    bool edits = false;
    uint64_t fault_at = 0;
    model::Fault fault;
    uint64_t crash_at = 0;
    bool crash_after = false;
  };
  struct RunReport {
    ResultCode result = 0;
    bool crashed = false;
    bool clean = true;  // no fault fired, no crash, no cancel, no edit
  };

  // --- Building the world ---

  std::string NewContent() {
    if (rng_.Chance(5)) return "";
    std::string content = "c" + std::to_string(++contents_) + ".";
    const size_t size = content.size() + rng_.Below(150);
    while (content.size() < size) content += static_cast<char>('a' + rng_.Below(26));
    return content;
  }

  std::string NewName(bool folder) {
    std::string name = rng_.Pick(kParts);
    if (rng_.Chance(40)) name += rng_.Pick(kParts);
    if (!folder) name += rng_.Pick(kExtensions);
    if (rng_.Chance(3)) name += ".$$$";
    if (rng_.Chance(2)) name = "." + name;
    return name;
  }

  // A local spelling of a name: sometimes with an ASCII capital, which the scan folds.
  std::string LocalSpelling(const std::string& name) {
    if (!rng_.Chance(20)) return name;
    std::string out = name;
    for (char& c : out) {
      if (c >= 'a' && c <= 'z') {
        c = static_cast<char>(c - 'a' + 'A');
        break;
      }
    }
    return out;
  }

  void Sentinels() {
    FileSystem& files = world_.twin.files;
    world_.twin.files.WriteWholeFile("C:\\mirror2\\beside.txt", "beside the mirror");
    world_.twin.files.WriteWholeFile("C:\\outside\\deep\\file.txt", "outside");
    world_.twin.files.WriteWholeFile("C:\\mirror.txt", "a file named like the mirror");
    (void)files;
    outside_ = world_.Outside();
  }

  uint64_t LocalTime() { return kStart - rng_.Below(3600 * kSecond); }
  uint64_t ServerTime() { return kStart - (1 + rng_.Below(3600)) * kSecond; }

  void WriteLocal(const std::string& path, const std::string& content, uint64_t time) {
    world_.twin.clock.SetNow(time);
    world_.twin.files.WriteWholeFile(world_.LocalPath(path), content);
  }

  // A synchronized start: the same tree on both sides and in the record.
  void Start() {
    std::vector<std::string> folders = {""};
    std::set<std::string> taken;  // folded full paths
    auto fresh = [&](const std::string& parent, bool folder) -> std::string {
      for (int attempt = 0; attempt < 8; ++attempt) {
        const std::string name = NewName(folder);
        if (name[0] == '.' || name.find(".$$$") != std::string::npos) continue;
        const std::string path = parent.empty() ? name : parent + "/" + name;
        if (taken.insert(FoldCase(path)).second) return path;
      }
      return std::string();
    };
    SyncTable recorded(world_.twin.env);
    FolderNode* root = recorded.EnsureRoot();
    std::map<std::string, FolderNode*> nodes = {{"", root}};
    const uint64_t folder_count = rng_.Below(5);
    for (uint64_t i = 0; i < folder_count; ++i) {
      const std::string parent = rng_.Pick(folders);
      if (std::count(parent.begin(), parent.end(), '/') >= 3) continue;
      const std::string path = fresh(parent, true);
      if (path.empty()) continue;
      world_.twin.files.MakeDirectory(world_.LocalPath(path));
      MakeServerFolder(path);
      nodes[path] = nodes[parent]->AddFolder(new FolderNode(path.substr(parent.empty() ? 0 : parent.size() + 1)));
      folders.push_back(path);
    }
    const uint64_t file_count = rng_.Below(11);
    for (uint64_t i = 0; i < file_count; ++i) {
      const std::string parent = rng_.Pick(folders);
      const std::string path = fresh(parent, false);
      if (path.empty()) continue;
      const std::string content = NewContent();
      WriteLocal(path, content, LocalTime());
      const uint64_t server_time = ServerTime();
      world_.model.PutFile(path, content, server_time);
      FileRecord record = FileRecord::WithName(path.substr(parent.empty() ? 0 : parent.size() + 1));
      record.set_attributes(128);
      record.set_local_time(world_.LocalTree()[path].time);
      record.set_server_time(server_time);
      record.set_size(content.size());
      nodes[parent]->AddFile(new FileEntry(std::move(record)));
    }
    recorded.SaveTableFile(world_.TablePath());
    Story("start: " + std::to_string(folders.size() - 1) + " folders, " +
          std::to_string(file_count) + " files");
  }

  void MakeServerFolder(const std::string& path) {
    const std::string parent = Parent(path);
    if (!parent.empty() && !world_.model.GetFile(parent) && world_.ServerTree().count(parent) == 0)
      MakeServerFolder(parent);
    world_.model.MakeFolder(path, world_.model.Now());
  }

  // --- Changes on both sides ---

  void Changes() {
    const uint64_t count = 1 + rng_.Below(8);
    for (uint64_t i = 0; i < count; ++i) {
      const bool local = rng_.Chance(50);
      std::string target;
      if (!touched_.empty() && rng_.Chance(30)) target = rng_.Pick(touched_);
      Change(local, target);
    }
  }

  // Picks an existing entry of a side (files, folders or both), or "".
  std::string Existing(const Tree& tree, bool files, bool folders) {
    std::vector<std::string> candidates;
    for (const auto& [path, entry] : tree)
      if ((entry.folder ? folders : files) && !IsLeftOutByRule(path)) candidates.push_back(path);
    return candidates.empty() ? std::string() : rng_.Pick(candidates);
  }

  std::string NewPathIn(const Tree& tree) {
    std::vector<std::string> folders = {""};
    for (const auto& [path, entry] : tree)
      if (entry.folder && std::count(path.begin(), path.end(), '/') < 3) folders.push_back(path);
    const std::string parent = rng_.Pick(folders);
    const std::string name = NewName(false);
    return parent.empty() ? name : parent + "/" + name;
  }

  void Change(bool local, std::string target) {
    Tree tree = local ? world_.LocalTree() : world_.ServerTree();
    const uint64_t kind = rng_.Below(8);
    const bool is_file = !target.empty() && tree.count(target) && !tree[target].folder;
    const bool is_folder = !target.empty() && tree.count(target) && tree[target].folder;
    std::string story = local ? "local " : "server ";
    switch (kind) {
      case 0:  // a new file
        if (target.empty() || tree.count(target)) target = NewPathIn(tree);
        PutFile(local, target, NewContent());
        story += "new " + target;
        break;
      case 1:  // an edit, the size changed or not
      case 2: {
        if (!is_file) target = Existing(tree, true, false);
        if (target.empty()) return;
        std::string content = NewContent();
        if (kind == 2 && content.size() < tree[target].size) {
          content.resize(static_cast<size_t>(tree[target].size), 'z');
        }
        PutFile(local, target, content);
        story += "edit " + target;
        break;
      }
      case 3:  // only the time
        if (!is_file) target = Existing(tree, true, false);
        if (target.empty()) return;
        Touch(local, target, tree[target].content);
        story += "touch " + target;
        break;
      case 4:  // a file deleted
        if (!is_file) target = Existing(tree, true, false);
        if (target.empty()) return;
        Remove(local, target);
        story += "delete " + target;
        break;
      case 5:  // a folder deleted with its content
        if (!is_folder) target = Existing(tree, false, true);
        if (target.empty()) return;
        Remove(local, target);
        story += "delete folder " + target;
        break;
      case 6:  // a file replaced by a folder, or a folder by a file
        if (target.empty() || !tree.count(target)) target = Existing(tree, true, true);
        if (target.empty()) return;
        Remove(local, target);
        if (tree[target].folder) {
          PutFile(local, target, NewContent());
          story += "folder to file " + target;
        } else {
          PutFile(local, target + "/" + NewName(false), NewContent());
          story += "file to folder " + target;
        }
        break;
      default:  // an empty folder
        if (target.empty() || tree.count(target)) {
          target = NewPathIn(tree);
          // A folder's name without the file extension (a leading dot stays).
          const size_t slash = FindLastSingleByte(target, '/');
          const size_t name_start = slash == std::string::npos ? 0 : slash + 1;
          const size_t dot = FindLastSingleByte(target, '.');
          if (dot != std::string::npos && dot > name_start) target.resize(dot);
        }
        if (tree.count(target)) return;
        MakeFolder(local, target);
        story += "new folder " + target;
        break;
    }
    touched_.push_back(LowerAscii(target));
    Story(story);
  }

  void PutFile(bool local, const std::string& path, const std::string& content) {
    if (local) {
      WriteLocal(LocalSpelling(path), content, kStart + (1 + rng_.Below(3600)) * kSecond +
                                                   rng_.Below(kSecond));
      return;
    }
    const std::string parent = Parent(path);
    if (!parent.empty() && world_.ServerTree().count(parent) == 0) MakeServerFolder(parent);
    const std::string server_path = rng_.Chance(3) ? UpperFirst(path) : path;
    world_.model.PutFile(server_path, content, kStart + (1 + rng_.Below(3600)) * kSecond);
  }

  // A server name the listing leaves out: one with an ASCII capital.
  static std::string UpperFirst(const std::string& path) {
    std::string out = path;
    const size_t slash = FindLastSingleByte(out, '/');
    const size_t at = slash == std::string::npos ? 0 : slash + 1;
    if (at < out.size() && out[at] >= 'a' && out[at] <= 'z') out[at] = static_cast<char>(out[at] - 32);
    return out;
  }

  void Touch(bool local, const std::string& path, const std::string& content) {
    const uint64_t time = kStart + (1 + rng_.Below(3600)) * kSecond;
    if (!local) {
      world_.model.PutFile(path, content, time);
      return;
    }
    std::unique_ptr<File> file;
    if (world_.twin.files.OpenFile(world_.LocalPath(path), file_access::kWrite, file_share::kNone,
                                   Disposition::kOpenExisting, &file) == 0)
      file->SetTimes(nullptr, nullptr, &time);
  }

  void Remove(bool local, const std::string& path) {
    if (!local) {
      world_.model.Remove(path);
      return;
    }
    const std::string full = world_.LocalPath(path);
    std::vector<std::string> below = world_.twin.files.List(full);
    std::sort(below.rbegin(), below.rend());
    for (const std::string& item : below) {
      if (item.back() == '\\') {
        world_.twin.files.RemoveEmptyDirectory(item.substr(0, item.size() - 1));
      } else {
        world_.twin.files.SetAttributes(item, file_attr::kNormal);
        world_.twin.files.RemoveFile(item);
      }
    }
    world_.twin.files.RemoveEmptyDirectory(full);
    world_.twin.files.SetAttributes(full, file_attr::kNormal);
    world_.twin.files.RemoveFile(full);
  }

  void MakeFolder(bool local, const std::string& path) {
    if (local) {
      std::string at = kMirror;
      for (size_t start = 0; start <= path.size();) {
        size_t end = FindSingleByte(path, '/', start);
        if (end == std::string::npos) end = path.size();
        at += "\\" + path.substr(start, end - start);
        world_.twin.files.MakeDirectory(at);
        start = end + 1;
      }
    } else {
      MakeServerFolder(path);
    }
  }

  model::Fault RandomFault() {
    model::Fault fault;
    switch (rng_.Below(4)) {
      case 0:
        fault.kind = model::FaultKind::kStatus;
        fault.status = static_cast<uint32_t>(
            std::vector<uint64_t>{404, 409, 423, 503, 507}[static_cast<size_t>(rng_.Below(5))]);
        break;
      case 1:
        fault.kind = model::FaultKind::kCutRequest;
        fault.error = rng_.Chance(50) ? 0 : 12030;
        break;
      case 2:
        fault.kind = model::FaultKind::kCutResponse;
        fault.keep_bytes = static_cast<size_t>(rng_.Below(200));
        break;
      default:
        fault.kind = model::FaultKind::kTimeout;
        fault.applied = rng_.Chance(50);
        break;
    }
    return fault;
  }

  // --- A run ---

  HandlerResponse OnRequest(const HandlerRequest& request) {
    ++requests_;
    if (trace_) Story("request " + std::to_string(requests_) + ": " + request.method + " " + request.path);
    world_.twin.clock.Advance(static_cast<uint32_t>(500 + rng_.Below(2500)));
    world_.model.set_now(world_.twin.clock.Now() - world_.twin.clock.Now() % kSecond);
    if (plan_.edits && rng_.Chance(8)) UserEdit();
    if (plan_.crash_at == requests_) {
      report_.crashed = true;
      report_.clean = false;
      if (plan_.crash_after) world_.model.Handle(request);
      throw Crash{};
    }
    if (plan_.fault_at == requests_) {
      report_.clean = false;
      Story("fault at request " + std::to_string(requests_) + " (" + request.method + ")");
      return model::HandleWithFault(world_.model, request, plan_.fault);
    }
    return world_.model.Handle(request);
  }

  // The user saves a file, or makes a new one, while the run works.
  void UserEdit() {
    Tree tree = world_.LocalTreeAsIs();
    std::string path = Existing(tree, true, false);
    if (path.empty() || rng_.Chance(30)) path = NewPathIn(tree);
    if (tree.count(path) && tree[path].folder) return;
    const std::string content = NewContent();
    std::unique_ptr<File> file;
    // A file the engine holds open cannot be saved now; the user tries again later.
    if (world_.twin.files.OpenFile(world_.LocalPath(path), file_access::kWrite, file_share::kNone,
                                   Disposition::kCreateAlways, &file) != 0)
      return;
    file->Write(content.data(), static_cast<uint32_t>(content.size()));
    edits_[LowerAscii(path)].push_back(content);
    all_contents_.insert(content);
    report_.clean = false;
    Story("user saves " + path + " during the run");
  }

  class RandomPrompt final : public ChoicePrompt {
   public:
    RandomPrompt(Random& rng, bool allow_cancel) : rng_(rng), allow_cancel_(allow_cancel) {}
    uint32_t Ask(ChoiceQuestion question, const std::string&) override {
      if (allow_cancel_ && rng_.Chance(10)) {
        cancelled = true;
        return answer::kCancel;
      }
      const uint32_t first = question == ChoiceQuestion::kConflict         ? answer::kUpload
                             : question == ChoiceQuestion::kDeletedLocally ? answer::kDownloadAgain
                                                                            : answer::kUploadAgain;
      return first + static_cast<uint32_t>(rng_.Below(4));
    }
    bool cancelled = false;

   private:
    Random& rng_;
    bool allow_cancel_;
  };

  RunReport DoRun(const RunPlan& plan) {
    plan_ = plan;
    report_ = RunReport{};
    requests_ = 0;
    edits_.clear();
    const Tree local0 = world_.LocalTree(), server0 = world_.ServerTree();
    const Tree record0 = world_.RecordTree();
    const size_t temp_files0 = world_.TempFiles();
    for (const Tree* tree : {&local0, &server0})
      for (const auto& [path, entry] : *tree) all_contents_.insert(entry.content);

    RandomPrompt prompt(rng_, plan.allow_cancel);
    try {
      std::unique_ptr<ServerSession> session = world_.OpenSession();
      SyncContext context = world_.Context(*session);
      context.prompt = &prompt;
      SyncTable recorded(world_.twin.env);
      SyncTable planned(world_.twin.env);
      SyncStatistics statistics;
      report_.result = RunSynchronization(context, &recorded, &planned, &statistics);
      session->CloseSession();
    } catch (const Crash&) {
      Story("crash at request " + std::to_string(requests_));
    }
    plan_ = RunPlan{};
    if (prompt.cancelled) report_.clean = false;
    if (!report_.crashed) Story("run ends with " + std::to_string(report_.result));
    CheckRun(local0, server0, record0, temp_files0);
    return report_;
  }

  // --- The promises ---

  void Broken(const std::string& what) { outcome_.broken.push_back(what); }
  void Story(const std::string& what) { outcome_.story.push_back(what); }

  // Whether one side holds at `path` the file the record describes.
  static bool InStep(const Tree& side, const Tree& record, const std::string& path, bool local) {
    auto s = side.find(path);
    auto r = record.find(path);
    if (s == side.end() || r == record.end() || s->second.folder || r->second.folder) return false;
    return s->second.size == r->second.size &&
           s->second.time == (local ? r->second.time : r->second.server_time);
  }

  bool UnderLeftOut(const std::string& path, const std::set<std::string>& left_out) {
    const std::string folded = FoldCase(path);
    for (const std::string& out : left_out)
      if (folded == out || folded.rfind(out + "/", 0) == 0) return true;
    return false;
  }

  void CheckRun(const Tree& local0, const Tree& server0, const Tree& record0,
                size_t temp_files0) {
    const Tree local1 = world_.LocalTree(), server1 = world_.ServerTree();
    const Tree record1 = world_.RecordTree();
    std::set<std::string> now;
    for (const Tree* tree : {&local1, &server1})
      for (const auto& [path, entry] : *tree)
        if (!entry.folder) now.insert(entry.content);
    std::set<std::string> left_out;
    for (const std::string& path : world_.LeftOut()) left_out.insert(FoldCase(path));

    // 1. Nothing is lost that no rule or answer deleted.
    auto check_side = [&](const Tree& side0, const Tree& other0, bool local) {
      for (const auto& [path, entry] : side0) {
        if (entry.folder || entry.content.empty() || now.count(entry.content)) continue;
        if (IsLeftOutByRule(path) || HasAsciiCapital(path)) continue;
        const bool unchanged = InStep(side0, record0, path, local);
        const bool other_unchanged = InStep(other0, record0, path, !local);
        auto other = other0.find(path);
        const bool other_changed =
            other != other0.end() && !other->second.folder && !other_unchanged;
        const bool superseded = unchanged && !other_unchanged;  // the other side moved on
        const bool conflict = !unchanged && other_changed;      // an answer chose
        const bool edited = edits_.count(path) > 0;             // the user overwrote it
        if (!superseded && !conflict && !edited)
          Broken(std::string("nothing lost: ") + (local ? "local " : "server ") + path +
                 " lost its content");
      }
    };
    check_side(local0, server0, true);
    check_side(server0, local0, false);
    for (const auto& [path, contents] : edits_) {
      for (size_t i = 0; i + 1 <= contents.size(); ++i) {
        if (i + 1 < contents.size()) continue;  // overwritten by the user's own later save
        if (!contents[i].empty() && !now.count(contents[i]))
          Broken("nothing lost: the user's save of " + path + " during the run is gone");
      }
    }

    // 2. No torn file: every file holds whole contents that existed.
    auto check_whole = [&](const Tree& side, const char* which) {
      for (const auto& [path, entry] : side)
        if (!entry.folder && !all_contents_.count(entry.content))
          Broken(std::string("no torn file: ") + which + " " + path + " holds bytes nobody wrote");
    };
    check_whole(local1, "local");
    check_whole(server1, "server");

    // 3. The record never claims a synchronization that did not happen.
    for (const auto& [path, entry] : record1) {
      auto before = record0.find(path);
      if (before != record0.end() && before->second.folder == entry.folder &&
          before->second.time == entry.time && before->second.server_time == entry.server_time &&
          before->second.size == entry.size)
        continue;  // not touched by this run
      auto l = local1.find(path);
      auto s = server1.find(path);
      if (entry.folder) {
        if (l == local1.end() || !l->second.folder || s == server1.end() || !s->second.folder)
          Broken("record: folder " + path + " is not on both sides");
        continue;
      }
      const bool local_ok = l != local1.end() && !l->second.folder && l->second.time == entry.time &&
                            l->second.size == entry.size;
      const bool server_ok = s != server1.end() && !s->second.folder &&
                             s->second.time == entry.server_time && s->second.size == entry.size;
      if (!server_ok) Broken("record: " + path + " does not match the server file");
      if (!local_ok && !edits_.count(path))
        Broken("record: " + path + " does not match the local file");
    }

    // 5. Nothing outside the mirror folder is touched.
    if (world_.Outside() != outside_) Broken("outside: something outside the mirror changed");
    if (!report_.crashed && world_.TempFiles() > temp_files0)
      Broken("outside: temporary files were left behind");
  }

  // 4. Both sides hold the same tree, apart from what the system leaves out, and a new plan
  // is empty.
  void CheckConverged(const RunReport& run) {
    if (run.result != 0) {
      Broken("convergence: a clean run ended with " + std::to_string(run.result));
      return;
    }
    std::set<std::string> left_out;
    for (const std::string& path : world_.LeftOut()) left_out.insert(FoldCase(path));
    auto comparable = [&](const Tree& tree, bool server) {
      std::map<std::string, std::string> out;
      for (const auto& [path, entry] : tree) {
        if (IsLeftOutByRule(path) || UnderLeftOut(path, left_out)) continue;
        if (server && HasAsciiCapital(path)) continue;
        out[path] = entry.folder ? "<folder>" : entry.content;
      }
      return out;
    };
    const auto local = comparable(world_.LocalTree(), false);
    const auto server = comparable(world_.ServerTree(), true);
    if (local != server) {
      std::string diff;
      for (const auto& [path, what] : local)
        if (!server.count(path) || server.at(path) != what) diff += " local:" + path;
      for (const auto& [path, what] : server)
        if (!local.count(path) || local.at(path) != what) diff += " server:" + path;
      Broken("convergence: the sides differ at" + diff);
    }
    if (HasWork()) Broken("convergence: planning again finds work");
  }

  bool HasWork() {
    std::unique_ptr<ServerSession> session = world_.OpenSession();
    SyncContext context = world_.Context(*session);
    SyncTable recorded(world_.twin.env);
    SyncTable planned(world_.twin.env);
    const ResultCode r = BuildPlan(context, &recorded, &planned);
    session->CloseSession();
    if (r != 0) {
      Broken("convergence: planning again fails with " + std::to_string(r));
      return false;
    }
    return HasPendingWork(&planned) != 0;
  }

  const bool trace_ = std::getenv("QBRK_SIM_TRACE") != nullptr;
  uint64_t seed_;
  Random rng_;
  World world_;
  Outcome outcome_;
  std::map<std::string, std::string> outside_;
  std::vector<std::string> touched_;
  uint64_t contents_ = 0;
  RunPlan plan_;
  RunReport report_;
  uint64_t requests_ = 0;
  std::map<std::string, std::vector<std::string>> edits_;
  std::set<std::string> all_contents_ = {""};
};

}  // namespace

Outcome RunScenario(uint64_t seed) { return Scenario(seed).Run(); }

}  // namespace qbrk::sim
