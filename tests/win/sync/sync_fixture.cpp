#include "sync_fixture.h"

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "common/mbcs.h"
#include "diag/error_log.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/win32_env.h"
#include "protocol/base64.h"
#include "protocol/server_connection.h"
#include "protocol/server_session.h"
#include "settings/settings.h"
#include "sync/planning.h"
#include "sync/sync_run.h"
#include "sync/sync_table.h"

namespace qbrk::test {

namespace {

constexpr uint64_t kUnixEpochFileTime = 116444736000000000ULL;

// "/" to "\", leaving the trail bytes of double-byte characters alone.
std::string Backslashed(const std::string& path) {
  std::string out = path;
  for (size_t i = 0; i < out.size(); ++i) {
    if (IsLeadByte(static_cast<unsigned char>(out[i])))
      ++i;
    else if (out[i] == '/')
      out[i] = '\\';
  }
  return out;
}

std::wstring Wide(const std::string& ansi) {
  std::wstring out(ansi.size() + 1, L'\0');
  const int n = MultiByteToWideChar(CP_ACP, 0, ansi.data(), static_cast<int>(ansi.size()),
                                    out.data(), static_cast<int>(out.size()));
  out.resize(n > 0 ? n : 0);
  return out;
}

// Each entry of `folder` but "." and "..", through the wide calls.
void ForEachEntryWide(const std::wstring& folder,
                      const std::function<void(const WIN32_FIND_DATAW&)>& visit) {
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    if (std::wstring_view(data.cFileName) != L"." && std::wstring_view(data.cFileName) != L"..")
      visit(data);
  } while (FindNextFileW(find, &data));
  FindClose(find);
}

bool IsFolder(const WIN32_FIND_DATAW& data) {
  return (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Removes what `folder` holds through the wide calls (with the "\\?\" prefix, paths past
// 260 characters and names code page 932 cannot hold go too).
void ClearFolderWide(const std::wstring& folder) {
  ForEachEntryWide(folder, [&](const WIN32_FIND_DATAW& data) {
    const std::wstring path = folder + L"\\" + data.cFileName;
    if (IsFolder(data)) ClearFolderWide(path);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (IsFolder(data))
      RemoveDirectoryW(path.c_str());
    else
      DeleteFileW(path.c_str());
  });
}

// Every name below `folder` that starts with `prefix`, with its path, through the wide calls
// (so that nothing too deep for the ANSI calls hides).
void FindPrefixed(const std::wstring& folder, const std::wstring& prefix,
                  std::vector<std::wstring>* found) {
  ForEachEntryWide(folder, [&](const WIN32_FIND_DATAW& data) {
    const std::wstring path = folder + L"\\" + data.cFileName;
    if (std::wstring_view(data.cFileName).substr(0, prefix.size()) == prefix)
      found->push_back(path);
    if (IsFolder(data)) FindPrefixed(path, prefix, found);
  });
}

bool SetLastWrite(const std::string& path, uint64_t time) {
  UniqueFile file(CreateFileA(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr));
  FILETIME ft{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
  return file && SetFileTime(file.get(), nullptr, nullptr, &ft);
}

// Creates the folders of `path` below `base` (the last part is a file's name).
void MakeParents(const std::string& base, const std::string& path) {
  std::string at = base;
  for (size_t start = 0, slash; (slash = FindSingleByte(path, '/', start)) != std::string::npos;
       start = slash + 1) {
    at += "\\" + path.substr(start, slash - start);
    CreateDirectoryA(at.c_str(), nullptr);
  }
}

void WriteWhole(const std::string& path, const std::string& content, uint64_t time) {
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    ASSERT_TRUE(out.good()) << path;
  }
  if (time) {
    ASSERT_TRUE(SetLastWrite(path, time)) << path;
  }
}

// Every file and folder of a recorded tree by its path ("/"-separated; folders end with "/"
// and come without an entry).
void WalkRecord(const FolderNode& folder, const std::string& prefix,
                const std::function<void(const std::string&, const FileEntry*)>& visit) {
  for (const FileEntry* f = folder.FindFile(nullptr); f; f = FolderNode::NextFile(f))
    visit(prefix + std::string(f->name()), f);
  for (const FolderNode* c = folder.FindFolder(nullptr); c; c = FolderNode::NextFolder(c)) {
    visit(prefix + c->name() + "/", nullptr);
    WalkRecord(*c, prefix + c->name() + "/", visit);
  }
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string PercentDecoded(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
        HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace

uint64_t FileTimeOf(int64_t unix_seconds) {
  return kUnixEpochFileTime + static_cast<uint64_t>(unix_seconds) * kSecond;
}

FindData Find(const std::string& path) {
  FindData found;
  found.attributes = file_attr::kInvalid;
  WIN32_FIND_DATAA data;
  UniqueFind find(FindFirstFileA(path.c_str(), &data));
  if (!find) return found;
  found.attributes = data.dwFileAttributes;
  found.last_write_time =
      uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32 | data.ftLastWriteTime.dwLowDateTime;
  found.size = uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
  found.name = data.cFileName;
  return found;
}

std::string PercentEscaped(const std::string& raw) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : raw) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
        std::string_view("._~/-").find(static_cast<char>(c)) != std::string_view::npos) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  return out;
}

uint32_t ScriptedPrompt::Ask(ChoiceQuestion question, const std::string& name) {
  if (script.empty()) {
    ADD_FAILURE() << "unexpected question " << static_cast<uint32_t>(question) << " for " << name;
    return answer::kCancel;
  }
  const Step step = script.front();
  script.pop_front();
  EXPECT_EQ(static_cast<uint32_t>(question), static_cast<uint32_t>(step.question)) << name;
  EXPECT_EQ(name, step.name);
  return step.answer;
}

void WineSyncScenario::SetUp() {
  ProtocolScenario::SetUp();
  if (IsSkipped() || HasFatalFailure()) return;
  mirror_ = temp_ + "mirror";
  data_folder_ = temp_ + "data";
  ASSERT_TRUE(CreateDirectoryA(mirror_.c_str(), nullptr));
  ASSERT_TRUE(CreateDirectoryA(data_folder_.c_str(), nullptr));
  // The emulator lives as long as the test process: a disk left by an earlier test of the
  // same process is emptied.
  ClearDisk();
}

void WineSyncScenario::TearDown() {
  if (!mirror_.empty()) {
    // Staged downloads (".qbk...") are removed on every path, also far below the mirror.
    std::vector<std::wstring> staged;
    FindPrefixed(L"\\\\?\\" + Wide(mirror_), L".qbk", &staged);
    EXPECT_TRUE(staged.empty()) << staged.size() << " staging files left in the mirror folder";
    EXPECT_TRUE(prompt_.script.empty()) << prompt_.script.size() << " answers were not asked for";
    ClearFolderWide(L"\\\\?\\" + Wide(mirror_));
    ClearDisk();
  }
  ProtocolScenario::TearDown();
}

void WineSyncScenario::ClearDisk() {
  // Through the emulator: the disk may hold names (devices, raw Shift_JIS bytes) that Wine's
  // file calls would take for something else or cannot name at all.
  for (const std::string& path : ServerPaths()) {
    const size_t slash = FindSingleByte(path, '/');
    if (slash != std::string::npos && slash + 1 != path.size()) continue;  // goes with its folder
    EXPECT_EQ(DiskRequest("DELETE", PercentEscaped(path)).status, 204u) << path;
  }
}

ResultCode WineSyncScenario::OpenRecorded() {
  if (connection_) connection_->Close();
  ConnectionUi ui;
  ui.link = &link_;
  ui.report_error = [this](ResultCode code) { reported_.push_back(code); };
  connection_ = std::make_unique<ServerConnection>(Win32Env(), NetPlatform{http_, Win32DialUp()},
                                                   std::move(ui));
  return connection_->Open();
}

bool WineSyncScenario::OnFreshConnection(const std::function<void(SyncContext&)>& step) {
  if (ResultCode r = OpenRecorded()) {
    ADD_FAILURE() << "the connection did not open: " << r;
    return false;
  }
  SyncContext context(Win32Env());
  context.session = connection_->session();
  context.mirror = mirror_;
  context.prompt = &prompt_;
  context.table_path = TablePath();
  step(context);
  connection_->Close();
  connection_.reset();
  return true;
}

ResultCode WineSyncScenario::Sync(const std::function<void()>& on_resolved) {
  http_.clear();
  ResultCode r = result::kGeneralFailure;
  OnFreshConnection([&](SyncContext& context) {
    if (logging_) RotateLogs(Win32Env().files);
    SyncTable recorded(Win32Env());
    SyncTable plan(Win32Env());
    stats_ = SyncStatistics{};
    r = RunSynchronization(context, &recorded, &plan, &stats_, [&](const SyncStatistics&) {
      if (on_resolved) on_resolved();
    });
    error_name_ = context.error_name;
  });
  return r;
}

bool WineSyncScenario::HasWork() {
  bool work = true;
  OnFreshConnection([&](SyncContext& context) {
    SyncTable recorded(Win32Env());
    SyncTable plan(Win32Env());
    EXPECT_EQ(BuildPlan(context, &recorded, &plan), 0u);
    work = HasPendingWork(&plan) != 0;
  });
  return work;
}

void WineSyncScenario::StartLog() {
  ASSERT_TRUE(Settings(Win32Env().registry).WriteDword("PutLog", 1));
  logging_ = true;
}

std::vector<std::string> WineSyncScenario::SkippedPaths() {
  std::ifstream in(temp_ + "HVQbrook00.log", std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  const std::string log = text.str();
  std::vector<std::string> paths;
  const std::string mark = "\" \"SKIPPED\" \"";
  for (size_t at = log.find(mark); at != std::string::npos; at = log.find(mark, at + 1)) {
    const size_t start = at + mark.size();
    paths.push_back(log.substr(start, log.find("\"\r\n", start) - start));
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string WineSyncScenario::Mirror(const std::string& path) const {
  return path.empty() ? mirror_ : mirror_ + "\\" + Backslashed(path);
}

void WineSyncScenario::LocalFile(const std::string& path, const std::string& content,
                                 uint64_t time) {
  MakeParents(mirror_, path);
  WriteWhole(Mirror(path), content, time);
}

std::string WineSyncScenario::LocalContent(const std::string& path) {
  std::ifstream in(Mirror(path), std::ios::binary);
  if (!in) return "<missing>";
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

Tree WineSyncScenario::LocalTree() {
  Tree tree;
  ReadTree(mirror_ + "\\", "", &tree);
  return tree;
}

std::string WineSyncScenario::DiskPath(const std::string& path) const {
  const std::string disk = data_ + "\\accounts\\" + kUser;
  return path.empty() ? disk : disk + "\\" + Backslashed(path);
}

FindData WineSyncScenario::DiskFind(const std::string& path) {
  return Find(DiskPath(path));
}

void WineSyncScenario::ServerFile(const std::string& path, const std::string& content,
                                  uint64_t time) {
  MakeParents(DiskPath(""), path);
  WriteWhole(DiskPath(path), content, time);
}

ControlReply WineSyncScenario::DiskRequest(const std::string& method, const std::string& wire_path,
                                           const std::string& body, const std::string& headers) {
  const std::string credentials =
      "Authorization: Basic " + Base64Encode(std::string(kUser) + ":" + kPassword) + "\r\n";
  return Request(method, kRoot + wire_path, credentials + headers, body);
}

std::set<std::string> WineSyncScenario::ServerPaths() {
  const ControlReply reply =
      DiskRequest("PROPFIND", "",
                  "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
                  "<propfind xmlns=\"DAV:\"><prop><resourcetype/></prop></propfind>",
                  "Depth: infinity\r\nContent-Type: text/xml\r\n");
  EXPECT_EQ(reply.status, 207u) << reply.body;
  std::set<std::string> paths;
  const std::string open = "href>";
  for (size_t at = reply.body.find(open); at != std::string::npos;
       at = reply.body.find(open, at + 1)) {
    if (reply.body[at - 1] == '/') continue;  // a closing tag
    const size_t start = at + open.size();
    const std::string href =
        PercentDecoded(reply.body.substr(start, reply.body.find('<', start) - start));
    if (href.size() > std::string(kRoot).size())
      paths.insert(href.substr(std::string(kRoot).size()));
  }
  return paths;
}

std::string WineSyncScenario::TablePath() const {
  return TableFilePath(data_folder_);
}

std::string WineSyncScenario::RecordTree() {
  SyncTable recorded(Win32Env());
  if (recorded.LoadTableFile(TablePath()) != 1) return "<none>";
  std::set<std::string> lines;
  WalkRecord(*recorded.root(), "", [&](const std::string& path, const FileEntry* file) {
    lines.insert(file ? path + " " + std::to_string(file->record().size()) : path);
  });
  std::string out;
  for (const std::string& line : lines)
    out += line + "\n";
  return out;
}

FileRecord WineSyncScenario::RecordOf(const std::string& path) {
  SyncTable recorded(Win32Env());
  FileRecord found;
  if (recorded.LoadTableFile(TablePath()) != 1) return found;
  WalkRecord(*recorded.root(), "", [&](const std::string& at, const FileEntry* file) {
    if (file && at == path) found = file->record().Copy();
  });
  return found;
}

}  // namespace qbrk::test
