// The sync engine's planning pipeline at scale: a recorded state from an earlier run, then
// about a tenth of the files changed on each side, some deleted, some new, a few changed on
// both. One round is what a synchronization does before its transfers:
//   local   ScanLocalFolder over the mirror folder held by MemoryFileSystem
//   server  ScanServerFolder through a ServerSession and MemoryHttpTransport (recording off),
//           whose handler answers each PROPFIND with a multistatus document built beforehand
//           in the form the service writes (the client's framing, spooling, XML reading and
//           listing walk all run; the service's own work is a map lookup and a copy)
//   load    LoadTableFile of the record, twice (before each half, as the job does)
//   plan_local, plan_server   PlanLocalSide, PlanServerSide
//   merge   MergeMarks and LeaveOutTypeClashes
//   resolve ResolveChoices, a prompt answering "the same for all" to the first question
//   save    SaveTableFile of the record
// Shape at N files: N/100 folders, two levels deep (tops of 25), one folder holding a quarter
// of the files and the others sharing the rest. Each size is set up and measured in a process
// of its own, two passes of three rounds with the sizes taking turns; each figure is the
// best of the six. Rounds start with the caches emptied (--warm: as the set-up left them).
// Times are the thread's CPU time, the wall clock beside them. Memory: the heap in use
// (glibc's mallinfo2, chunks and their headers, mmapped ones too) added by building the
// local, server and recorded trees and the plan of 100,000 files, the server scan's session
// (its kept listings) gone. Prints
//   BENCH engine ratio=<per-file time at 200k / at 20k> (limit 1.3) <phases at 100k> ...
// and fails when a target is missed: total under 1 s at 100k, ratio within 1.3, 64 MiB.
#include <malloc.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "diag/error_log.h"
#include "platform/memory/memory_http_transport.h"
#include "protocol/http_date.h"
#include "protocol/server_session.h"
#include "sync/choice_prompt.h"
#include "sync/planning.h"
#include "sync/sync_run.h"
#include "sync/sync_table.h"
#include "tests/unit/settings/twin_env.h"

namespace qbrk {
namespace {

constexpr int kSizes[] = {20000, 100000, 200000};
constexpr int kPasses = 2;
constexpr int kRounds = 3;  // in each pass
constexpr double kTotalLimitMs = 1000;
constexpr double kRatioLimit = 1.3;
constexpr double kMemoryLimitMiB = 64;

constexpr char kMirror[] = "C:\\m";
constexpr char kTablePath[] = "C:\\data\\.Qbrook.dir";
constexpr char kSavePath[] = "C:\\data\\saved.dir";
constexpr char kUser[] = "bench@example.jp";
constexpr char kRoot[] = "/~bench@example.jp/file/";
constexpr uint64_t kSecond = 10000000;
constexpr uint64_t kLocalBase = 126597928230000000ULL;   // 2002-03-05 09:07:03
constexpr uint64_t kServerBase = 126597930000000000ULL;  // half an hour later
constexpr int kFolderFanOut = 25;
constexpr int kFreshFiles = 10;

using Steady = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "engine bench: %s\n", what.c_str());
  std::exit(2);
}

double Ms(Steady::duration d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

// Heap bytes in use, mmapped chunks included.
size_t HeapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

std::string HttpDate(uint64_t file_time) {
  std::string text;
  if (!FormatHttpDate(file_time, &text)) Fail("no date for a time");
  return text;
}

// What became of file i since the record (i % 100).
struct Fate {
  bool local_changed, local_resized, server_changed, on_disk, on_server;
};
Fate FateOf(int i) {
  const int c = i % 100;
  Fate f;
  f.local_changed = (c >= 10 && c < 20) || c == 30;  // 30: changed on both sides
  f.local_resized = c >= 15 && c < 20;
  f.server_changed = (c >= 20 && c < 30) || c == 30 || c == 60;
  f.on_disk = c != 40 && c != 41 && c != 60 && c != 70;  // 60: gone here, changed there
  f.on_server = c != 50 && c != 51 && c != 70;           // 70: gone from both
  return f;
}

std::string FileName(int i) {
  char name[48];
  switch (i % 3) {
    case 0:
      std::snprintf(name, sizeof name, "img_%07d.jpg", i);
      break;
    case 1:
      std::snprintf(name, sizeof name, "report-%d-final.docx", i);
      break;
    default:
      std::snprintf(name, sizeof name, "n%d.txt", i);
      break;
  }
  return name;
}

class Multistatus;

// One size's mirror folder, service answers and record.
class Workload {
 public:
  explicit Workload(int files);

  int files() const { return files_; }
  testing::TwinEnv& twin() { return twin_; }
  MemoryHttpTransport& http() { return http_; }

 private:
  // The folder of file i: a quarter of the files in folder 1, the rest spread over the others.
  int FolderOf(int i) const {
    const int big = files_ / 4;
    if (i < big) return 1;
    const int k = (i - big) % (folders_ - 1);
    return k == 0 ? 0 : k + 1;
  }
  // A folder's path below the top, with "/" after each name ("t003/s07/").
  static std::string FolderPath(int k) {
    char path[32];
    if (k % kFolderFanOut == 0) {
      std::snprintf(path, sizeof path, "t%03d/", k / kFolderFanOut);
    } else {
      std::snprintf(path, sizeof path, "t%03d/s%02d/", k / kFolderFanOut, k % kFolderFanOut);
    }
    return path;
  }
  static std::string LocalPath(const std::string& folder_path, const std::string& name) {
    std::string path = std::string(kMirror) + "\\" + folder_path + name;
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
  }
  // File i of folder k: its record, its local copy and its listing entry, as its fate says.
  void AddFile(int k, int i, FolderNode* record_folder, Multistatus* listing);
  void WriteLocal(const std::string& folder_path, const std::string& name, uint64_t time,
                  uint64_t size) {
    twin_.clock.SetNow(time);
    if (!twin_.files.WriteWholeFile(LocalPath(folder_path, name), std::string(size, 'x')))
      Fail("cannot write a mirror file");
  }

  int files_;
  int folders_;
  testing::TwinEnv twin_;
  MemoryHttpTransport http_;
  std::shared_ptr<std::unordered_map<std::string, std::string>> answers_;
};

// The multistatus of one folder, as the service writes it for our PROPFIND: the folder and
// its members, each folder with its time and no length.
class Multistatus {
 public:
  explicit Multistatus(const std::string& href) {
    xml_ = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">\n";
    AddFolder(href);
  }
  void AddFolder(const std::string& href) {
    xml_ += "<D:response><D:href>" + href + "</D:href><D:propstat><D:prop><D:getlastmodified>" +
            HttpDate(kServerBase) +
            "</D:getlastmodified></D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat>"
            "<D:propstat><D:prop><D:getcontentlength/></D:prop><D:status>HTTP/1.1 404 Not "
            "Found</D:status></D:propstat></D:response>\n";
  }
  void AddFile(const std::string& href, uint64_t size, uint64_t time) {
    xml_ += "<D:response><D:href>" + href + "</D:href><D:propstat><D:prop><D:getcontentlength>" +
            std::to_string(size) + "</D:getcontentlength><D:getlastmodified>" + HttpDate(time) +
            "</D:getlastmodified></D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat>"
            "</D:response>\n";
  }
  std::string Finish() { return xml_ + "</D:multistatus>\n"; }

 private:
  std::string xml_;
};

void Workload::AddFile(int k, int i, FolderNode* record_folder, Multistatus* listing) {
  const std::string path = FolderPath(k);
  const std::string name = FileName(i);
  const uint64_t size = i % 7;
  const uint64_t local_time = kLocalBase + (i % 3600) * kSecond;
  const uint64_t server_time = kServerBase + (i % 86400) * kSecond;
  FileRecord recorded = FileRecord::WithName(name);
  recorded.set_attributes(file_attr::kArchive);
  recorded.set_size(size);
  recorded.set_local_time(local_time);
  recorded.set_server_time(server_time);
  record_folder->AddFile(new FileEntry(std::move(recorded)));

  const Fate fate = FateOf(i);
  if (fate.on_disk) {
    WriteLocal(path, name, fate.local_changed ? local_time + kSecond : local_time,
               fate.local_resized ? size + 1 : size);
  }
  if (fate.on_server) {
    listing->AddFile(kRoot + path + name, fate.server_changed ? size + 3 : size,
                     fate.server_changed ? server_time + 60 * kSecond : server_time);
  }
  if (i % 50 == 0) WriteLocal(path, "new-local-" + std::to_string(i) + ".txt", kLocalBase, 2);
  if (i % 50 == 25) {
    listing->AddFile(kRoot + path + "new-server-" + std::to_string(i) + ".txt", 4, kServerBase);
  }
}

Workload::Workload(int files)
    : files_(files),
      folders_(files / 100),
      answers_(std::make_shared<std::unordered_map<std::string, std::string>>()) {
  SyncTable record(twin_.env);
  FolderNode* record_root = record.EnsureRoot();
  std::vector<FolderNode*> record_folders(folders_);
  std::vector<Multistatus> listings;
  listings.reserve(folders_);
  Multistatus top(kRoot);
  for (int k = 0; k < folders_; ++k) {
    const std::string path = FolderPath(k);
    listings.emplace_back(kRoot + path);
    char name[16];
    std::snprintf(name, sizeof name, k % kFolderFanOut ? "s%02d" : "t%03d",
                  k % kFolderFanOut ? k % kFolderFanOut : k / kFolderFanOut);
    if (k % kFolderFanOut == 0) {
      top.AddFolder(kRoot + path);
      record_folders[k] = record_root->AddFolder(new FolderNode(name));
    } else {
      listings[k - k % kFolderFanOut].AddFolder(kRoot + path);
      record_folders[k] = record_folders[k - k % kFolderFanOut]->AddFolder(new FolderNode(name));
    }
  }

  // Folder by folder, as a disk keeps a folder's entries together.
  std::vector<std::vector<int>> files_of(folders_);
  for (int i = 0; i < files_; ++i)
    files_of[FolderOf(i)].push_back(i);
  for (int k = 0; k < folders_; ++k) {
    for (int i : files_of[k])
      AddFile(k, i, record_folders[k], &listings[k]);
  }
  // A folder new on each side.
  top.AddFolder(std::string(kRoot) + "fresh-server/");
  Multistatus fresh(std::string(kRoot) + "fresh-server/");
  for (int i = 0; i < kFreshFiles; ++i) {
    const std::string name = "f" + std::to_string(i) + ".txt";
    fresh.AddFile(std::string(kRoot) + "fresh-server/" + name, 1, kServerBase);
    WriteLocal("fresh-local/", name, kLocalBase, 1);
  }

  auto& answers = *answers_;
  answers[kRoot] = top.Finish();
  answers[std::string(kRoot) + "fresh-server/"] = fresh.Finish();
  for (int k = 0; k < folders_; ++k)
    answers[kRoot + FolderPath(k)] = listings[k].Finish();
  auto served = answers_;
  http_.set_recording(false);
  http_.set_handler([served](const HandlerRequest& request) {
    HandlerResponse answer;
    auto found = served->find(request.path);
    if (request.method != "PROPFIND" || found == served->end()) {
      answer.status = 404;
      return answer;
    }
    answer.status = 207;
    answer.headers = {{"Content-Type", "text/xml; charset=\"utf-8\""}};
    answer.body = found->second;
    return answer;
  });

  twin_.clock.SetNow(kLocalBase);
  twin_.files.MakeDirectory("C:\\data");
  if (record.SaveTableFile(kTablePath) != 1) Fail("cannot write the record");
}

// Answers the first question of each kind with "the same for all".
class AnswerAll final : public ChoicePrompt {
 public:
  uint32_t Ask(ChoiceQuestion question, const std::string&) override {
    ++asked;
    switch (question) {
      case ChoiceQuestion::kConflict:
        return answer::kUploadAll;
      case ChoiceQuestion::kDeletedLocally:
        return answer::kDeleteOnServerAll;
      case ChoiceQuestion::kDeletedOnServer:
        return answer::kDeleteLocallyAll;
    }
    return answer::kCancel;
  }
  int asked = 0;
};

std::unique_ptr<ServerSession> OpenSession(Workload& w) {
  auto session = std::make_unique<ServerSession>(w.twin().env, w.http(), nullptr, SessionOptions{});
  if (session->OpenSession("dav.example.jp", 80, kUser, "secret") != 0) Fail("no session");
  session->set_own_owner(kUser);
  session->set_disk_root(kRoot);
  return session;
}

enum Phase { kLocal, kServer, kLoad, kPlanLocal, kPlanServer, kMerge, kResolve, kSave, kPhases };
constexpr const char* kPhaseNames[kPhases] = {"local",       "server", "loads",   "plan_local",
                                              "plan_server", "merge",  "resolve", "save"};

// Milliseconds of one round or the best of several: the thread's CPU time, which others'
// work on a shared machine hardly changes, and the wall-clock time.
struct Times {
  double cpu[kPhases] = {};
  double wall[kPhases] = {};
  double cpu_total = 0;
  double wall_total = 0;

  static Times Worst() {
    Times t;
    std::fill(std::begin(t.cpu), std::end(t.cpu), 1e18);
    std::fill(std::begin(t.wall), std::end(t.wall), 1e18);
    t.cpu_total = t.wall_total = 1e18;
    return t;
  }
  void KeepBest(const Times& other) {
    for (int p = 0; p < kPhases; ++p) {
      cpu[p] = std::min(cpu[p], other.cpu[p]);
      wall[p] = std::min(wall[p], other.wall[p]);
    }
    cpu_total = std::min(cpu_total, other.cpu_total);
    wall_total = std::min(wall_total, other.wall_total);
  }
};

double ThreadCpuMs() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

struct Memory {
  size_t trees = 0;     // local, server and recorded trees and the plan
  size_t listings = 0;  // what the server scan's session kept
};

void Check(ResultCode r, const char* step) {
  if (r != 0) Fail(std::string(step) + " gave " + std::to_string(r));
}

// One round of the pipeline; `memory` (when given) receives the heap figures.
// Writes over a buffer larger than the caches, so that a round finds nothing of its input
// there: a synchronization runs long after its mirror folder, listings and table file were
// last touched, and a small workload set up just before its rounds would otherwise be
// measured from the cache.
void EvictCaches() {
  static std::vector<uint8_t> sweep(size_t{512} << 20);
  for (size_t i = 0; i < sweep.size(); i += 64)
    sweep[i] = static_cast<uint8_t>(sweep[i] + 1);
}

// Whether rounds start with the caches emptied (the default; --warm keeps them).
bool g_cold = true;

Times Round(Workload& w, SyncStatistics* statistics, Memory* memory = nullptr) {
  Env& env = w.twin().env;
  if (g_cold) EvictCaches();
  Times t;
  auto timed = [&](Phase phase, auto&& step) {
    const auto start = Steady::now();
    const double cpu_start = ThreadCpuMs();
    step();
    t.cpu[phase] += ThreadCpuMs() - cpu_start;
    t.wall[phase] += Ms(Steady::now() - start);
  };
  const size_t base = memory ? HeapInUse() : 0;
  SyncTable local(env);
  timed(kLocal, [&] { Check(local.ScanLocalFolder(kMirror, ""), "local scan"); });
  auto session = OpenSession(w);
  SyncTable server(env, session.get());
  timed(kServer, [&] { Check(server.ScanServerFolder("", ""), "server scan"); });
  const size_t with_session = memory ? HeapInUse() : 0;
  server.set_connection(nullptr);
  session.reset();
  if (memory) memory->listings = with_session - HeapInUse();

  SyncTable recorded(env);
  SyncTable plan(env);
  timed(kLoad, [&] {
    if (recorded.LoadTableFile(kTablePath) != 1) Fail("the record does not load");
  });
  timed(kPlanLocal, [&] { Check(PlanLocalSide(&local, &recorded, &plan), "PlanLocalSide"); });
  timed(kLoad, [&] {
    recorded.ReplaceRoot(nullptr);
    if (recorded.LoadTableFile(kTablePath) != 1) Fail("the record does not load");
  });
  timed(kPlanServer, [&] { Check(PlanServerSide(&server, &recorded, &plan), "PlanServerSide"); });
  timed(kMerge, [&] {
    Check(MergeMarks(&plan), "MergeMarks");
    Check(LeaveOutTypeClashes(&plan, kRoot), "LeaveOutTypeClashes");
  });
  AnswerAll prompt;
  SyncContext context(env);
  context.prompt = &prompt;
  timed(kResolve, [&] { Check(ResolveChoices(&context, &plan, statistics), "ResolveChoices"); });
  if (memory) memory->trees = HeapInUse() - base;
  timed(kSave, [&] {
    if (recorded.SaveTableFile(kSavePath) != 1) Fail("the record was not saved");
  });
  if (prompt.asked != 3) Fail("expected one question of each kind");
  for (int p = 0; p < kPhases; ++p) {
    t.cpu_total += t.cpu[p];
    t.wall_total += t.wall[p];
  }
  return t;
}

// The same plan through the job's own BuildPlan, so the rounds measure what a run does.
SyncStatistics JobStatistics(Workload& w) {
  auto session = OpenSession(w);
  SyncContext context(w.twin().env);
  context.session = session.get();
  context.mirror = kMirror;
  context.table_path = kTablePath;
  AnswerAll prompt;
  context.prompt = &prompt;
  SyncTable recorded(w.twin().env);
  SyncTable plan(w.twin().env);
  Check(BuildPlan(context, &recorded, &plan), "BuildPlan");
  SyncStatistics statistics;
  Check(ResolveChoices(&context, &plan, &statistics), "ResolveChoices");
  return statistics;
}

bool SameStatistics(const SyncStatistics& a, const SyncStatistics& b) {
  return a.uploads == b.uploads && a.downloads == b.downloads && a.uploadBytes == b.uploadBytes &&
         a.downloadBytes == b.downloadBytes && a.localFileDeletes == b.localFileDeletes &&
         a.serverFileDeletes == b.serverFileDeletes &&
         a.localFolderCreates == b.localFolderCreates &&
         a.serverFolderCreates == b.serverFolderCreates &&
         a.localFolderDeletes == b.localFolderDeletes &&
         a.serverFolderDeletes == b.serverFolderDeletes;
}

// What one process measured of one size.
struct SizeResult {
  Times best = Times::Worst();
  Memory memory;
  SyncStatistics statistics;
  bool same_as_job = false;
};

// Sets up `files` and runs `rounds` rounds in a child process of its own, so that every
// size starts from a heap holding only its own workload: a round that follows a larger one
// in one process runs three times slower in the larger one's freed, scattered memory.
SizeResult MeasureInChild(int files, int rounds, bool first_pass) {
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0) Fail("no pipe");
  std::fflush(stdout);
  const pid_t child = fork();
  if (child < 0) Fail("no fork");
  if (child == 0) {
    close(pipe_ends[0]);
    const auto start = Steady::now();
    Workload workload(files);
    if (first_pass)
      std::printf("engine: %d files set up in %.0f ms\n", files, Ms(Steady::now() - start));
    SizeResult result;
    for (int round = 0; round < rounds; ++round)
      result.best.KeepBest(Round(workload, &result.statistics));
    result.same_as_job = SameStatistics(result.statistics, JobStatistics(workload));
    SyncStatistics ignored;
    Round(workload, &ignored, &result.memory);
    std::fflush(stdout);
    const bool written = write(pipe_ends[1], &result, sizeof result) == sizeof result;
    _exit(written ? 0 : 3);
  }
  close(pipe_ends[1]);
  SizeResult result;
  const bool read_whole = read(pipe_ends[0], &result, sizeof result) == sizeof result;
  close(pipe_ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!read_whole || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    Fail("the measuring process of " + std::to_string(files) + " files failed");
  return result;
}

}  // namespace
}  // namespace qbrk

// engine_bench [--warm] [--rounds N] [FILES...]: other sizes and round counts are for
// profiling; the targets are judged on the default ones. --warm leaves the caches as the
// set-up and the previous round left them.
int main(int argc, char** argv) {
  using namespace qbrk;
  SetLoggingLevel(0);
  int rounds = kRounds;
  std::vector<int> sizes;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--warm") {
      g_cold = false;
    } else if (std::string(argv[i]) == "--rounds" && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else if (std::atoi(argv[i]) >= 1000) {
      sizes.push_back(std::atoi(argv[i]));
    } else {
      Fail("usage: engine_bench [--warm] [--rounds N] [FILES...] (at least 1000 files)");
    }
  }
  if (sizes.empty()) sizes.assign(std::begin(kSizes), std::end(kSizes));
  const size_t count = sizes.size();

  // The sizes take turns, pass by pass, so that other work on the machine weighs on all.
  std::vector<SizeResult> results(count);
  for (int pass = 0; pass < kPasses; ++pass) {
    for (size_t s = 0; s < count; ++s) {
      const SizeResult r = MeasureInChild(sizes[s], rounds, pass == 0);
      if (!r.same_as_job) Fail("the rounds and BuildPlan planned differently");
      results[s].best.KeepBest(r.best);
      results[s].statistics = r.statistics;
      if (pass == 0 || r.memory.trees < results[s].memory.trees) results[s].memory = r.memory;
    }
  }

  size_t at_100k = count - 1;
  for (size_t s = 0; s < count; ++s) {
    if (sizes[s] == 100000) at_100k = s;
    const SyncStatistics& st = results[s].statistics;
    const Times& b = results[s].best;
    std::printf(
        "engine: %d files: %u uploads, %u downloads, %u local and %u server file "
        "deletions, %u local and %u server folder creations; trees and plan %.1f MiB, "
        "session listings %.1f MiB\n",
        sizes[s], st.uploads, st.downloads, st.localFileDeletes, st.serverFileDeletes,
        st.localFolderCreates, st.serverFolderCreates, results[s].memory.trees / 1048576.0,
        results[s].memory.listings / 1048576.0);
    std::printf("engine: %d files, best of %d rounds, cpu %.1f ms:", sizes[s], kPasses * rounds,
                b.cpu_total);
    for (int p = 0; p < kPhases; ++p)
      std::printf(" %s=%.1f", kPhaseNames[p], b.cpu[p]);
    std::printf("; wall %.1f ms:", b.wall_total);
    for (int p = 0; p < kPhases; ++p)
      std::printf(" %s=%.1f", kPhaseNames[p], b.wall[p]);
    std::printf("\n");
  }
  std::vector<Times> best;
  for (const SizeResult& r : results)
    best.push_back(r.best);
  const Memory memory = results[at_100k].memory;

  const double per_file_first = best[0].cpu_total * 1000 / sizes[0];
  const double per_file_last = best[count - 1].cpu_total * 1000 / sizes[count - 1];
  const double ratio = per_file_last / per_file_first;
  const double mib = memory.trees / 1048576.0;
  const Times& b = best[at_100k];
  std::printf("BENCH engine ratio=%.2f (limit %.1f) caches=%s", ratio, kRatioLimit,
              g_cold ? "cold" : "warm");
  for (int p = 0; p < kPhases; ++p)
    std::printf(" %s=%.0fms", kPhaseNames[p], b.cpu[p]);
  std::printf(
      " total=%.0fms (limit %.0f) wall=%.0fms per_file_%dk=%.2fus per_file_%dk=%.2fus "
      "mem=%.1fMiB (limit %.0f) listings=%.1fMiB\n",
      b.cpu_total, kTotalLimitMs, b.wall_total, sizes[0] / 1000, per_file_first,
      sizes[count - 1] / 1000, per_file_last, mib, kMemoryLimitMiB, memory.listings / 1048576.0);
  return b.cpu_total < kTotalLimitMs && ratio <= kRatioLimit && mib <= kMemoryLimitMiB ? 0 : 1;
}
