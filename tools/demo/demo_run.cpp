#include "demo_run.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "demo_format.h"
#include "platform/file_system.h"
#include "platform/string_table.h"
#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/publishing.h"
#include "protocol/transfer.h"
#include "settings/folders.h"

namespace qbrk::demo {

namespace {

constexpr uint32_t kCompareBlock = 65536;
// A find record's time and a server's HTTP date agree to the second.
constexpr uint64_t kTicksPerSecond = 10000000ULL;

// Labels padded to one column, so the lines read as a table.
std::string Label(const char* step) {
  std::string label = step;
  label.resize(std::max<size_t>(label.size() + 1, 10), ' ');
  return label;
}

// Compares two local files block by block; false when either cannot be read.
bool SameContent(FileSystem& files, const std::string& a, const std::string& b, bool* same) {
  std::unique_ptr<File> fa, fb;
  if (files.OpenFile(a, file_access::kRead, file_share::kRead, Disposition::kOpenExisting, &fa) ||
      files.OpenFile(b, file_access::kRead, file_share::kRead, Disposition::kOpenExisting, &fb))
    return false;
  std::vector<char> ba(kCompareBlock), bb(kCompareBlock);
  *same = true;
  // Every pass consumes a block of `a`; a file ends, so does the loop.
  for (;;) {
    uint32_t na = 0, nb = 0;
    if (fa->Read(ba.data(), kCompareBlock, &na) != 0) return false;
    // Short reads of `b` are filled up to what `a` gave, so the blocks line up.
    uint32_t got = 0;
    while (got < na) {
      if (fb->Read(bb.data() + got, na - got, &nb) != 0) return false;
      if (nb == 0) break;
      got += nb;
    }
    if (got != na || !std::equal(ba.begin(), ba.begin() + na, bb.begin())) {
      *same = false;
      return true;
    }
    if (na == 0) return true;
  }
}

class DemoRun {
 public:
  DemoRun(Env& env, NetPlatform net, const DemoPlan& plan, const DemoOutput& out)
      : env_(env), plan_(plan), out_(out), connection_(env, net, MakeUi()) {}

  DemoOutcome Run() {
    outcome_.ok = Connect() && FindMirror() && MakeFreshFolder() && UploadAll() && ListAndCheck() &&
                  DownloadAndCompare() && ShowQuota() && PublishFolder();
    connection_.Close();
    if (outcome_.ok) Print("close", "connection closed; every step succeeded");
    return outcome_;
  }

 private:
  ConnectionUi MakeUi() {
    ConnectionUi ui;
    // No dialog: a refused sign-in ends the open as cancelled; keep the reason.
    ui.report_error = [this](ResultCode code) { reported_ = code; };
    return ui;
  }

  void Print(const char* step, const std::string& text) { out_(Label(step) + text); }

  bool Fail(const char* step, ResultCode code, const std::string& subject) {
    Print(step, "FAILED, " + DescribeFailure(code, subject, env_.strings));
    return false;
  }

  bool FailText(const char* step, const std::string& why) {
    Print(step, "FAILED, " + why);
    return false;
  }

  bool Connect() {
    const ResultCode loaded = connection_.LoadSettings();
    if (loaded != result::kSuccess) return Fail("settings", loaded, "");
    Print("settings", "server " + connection_.host() + ":" + std::to_string(connection_.port()) +
                          ", user " + connection_.user() + ", upload unit " +
                          GroupDigits(connection_.upload_unit()) + " bytes");
    ResultCode r = connection_.Open();
    if (r == result::kCancelled && reported_ != result::kSuccess) r = reported_;
    if (r != result::kSuccess) return Fail("connect", r, "");
    session_ = connection_.session();
    root_ = connection_.root();
    folder_ = root_ + plan_.folder_name + "/";
    Print("connect", "signed in, server version accepted; disk root " + root_);
    return true;
  }

  bool FindMirror() {
    if (!ResolveMirrorFolder(env_, false, {}, &mirror_))
      return FailText("mirror", "the mirror folder is not set or does not exist");
    std::unique_ptr<FindHandle> find;
    FindData item;
    SysError e = env_.files.FindFirst(mirror_ + "\\*", &find, &item);
    // Each Next either ends the search or moves past one record.
    while (e == 0) {
      if ((item.attributes & file_attr::kDirectory) == 0) local_.push_back(item);
      e = find->Next(&item);
    }
    std::sort(local_.begin(), local_.end(),
              [](const FindData& a, const FindData& b) { return a.name < b.name; });
    if (local_.empty()) return FailText("mirror", mirror_ + " holds no files");
    Print("mirror", mirror_ + ", " + std::to_string(local_.size()) + " files");
    return true;
  }

  bool MakeFreshFolder() {
    const Listing* listing = nullptr;
    ResultCode r = ListFolder(*session_, root_, &listing);
    if (r != result::kSuccess) return Fail("folder", r, root_);
    const bool left_over =
        listing != nullptr && std::any_of(listing->begin(), listing->end(), [&](const FindData& f) {
          return f.name == plan_.folder_name;
        });
    if (left_over) {
      r = DeleteResource(*session_, folder_);
      if (r != result::kSuccess) return Fail("folder", r, folder_);
    }
    // The root's listing is kept for the session; it no longer holds.
    session_->listings().clear();
    r = MakeFolder(*session_, folder_);
    if (r != result::kSuccess) return Fail("folder", r, folder_);
    Print("folder", std::string(left_over ? "replaced the earlier run's " : "created ") + folder_);
    return true;
  }

  bool UploadAll() {
    for (const FindData& item : local_) {
      const std::string local = mirror_ + "\\" + item.name;
      const std::string remote = folder_ + item.name;
      ResultCode r = Upload(*session_, local, remote);
      if (r != result::kSuccess) return Fail("upload", r, local);
      // As a synchronization does: the server copy carries the local file's time.
      r = SetLastModified(*session_, item.last_write_time, remote);
      if (r != result::kSuccess) return Fail("upload", r, remote);
      const uint64_t pieces = UploadPieces(item.size, connection_.upload_unit());
      Print("upload", item.name + ", " + GroupDigits(item.size) + " bytes " +
                          (pieces == 1 ? std::string("in one request")
                                       : "in " + std::to_string(pieces) + " ranges under a lock") +
                          ", time set to " + FormatFileTime(item.last_write_time));
    }
    return true;
  }

  bool ListAndCheck() {
    const Listing* listing = nullptr;
    const ResultCode r = ListFolder(*session_, folder_, &listing);
    if (r != result::kSuccess) return Fail("list", r, folder_);
    const size_t count = listing == nullptr ? 0 : listing->size();
    Print("list", folder_ + ", " + std::to_string(count) + " entries");
    for (size_t i = 0; i < count; ++i) {
      const FindData& entry = (*listing)[i];
      std::string size = GroupDigits(entry.size);
      size.insert(0, size.size() < 12 ? 12 - size.size() : 0, ' ');
      out_(Label("") + "  " + FormatFileTime(entry.last_write_time) + size + "  " + entry.name);
    }
    for (const FindData& item : local_) {
      const FindData* entry = nullptr;
      for (size_t i = 0; i < count; ++i)
        if ((*listing)[i].name == item.name) entry = &(*listing)[i];
      if (entry == nullptr) return FailText("list", item.name + " is missing on the server");
      if (entry->size != item.size ||
          entry->last_write_time / kTicksPerSecond != item.last_write_time / kTicksPerSecond)
        return FailText("list", item.name + " differs from the local file in size or time");
    }
    return true;
  }

  bool DownloadAndCompare() {
    // The largest file: the one that went up in ranges.
    const FindData& item =
        *std::max_element(local_.begin(), local_.end(),
                          [](const FindData& a, const FindData& b) { return a.size < b.size; });
    std::string temp_folder, copy;
    if (env_.files.TempFolder(&temp_folder) != 0 ||
        env_.files.MakeTempFile(temp_folder, "qbd", &copy) != 0)
      return FailText("download", "no temporary file");
    FindData got;
    const ResultCode r = Download(*session_, folder_ + item.name, copy, &got);
    bool same = false;
    const bool compared =
        r == result::kSuccess && SameContent(env_.files, mirror_ + "\\" + item.name, copy, &same);
    env_.files.RemoveFile(copy);
    if (r != result::kSuccess) return Fail("download", r, folder_ + item.name);
    if (!compared) return FailText("download", "the copy could not be read back");
    if (!same) return FailText("download", item.name + ": the bytes differ from the local file");
    Print("download",
          item.name + ", " + GroupDigits(got.size) + " bytes, identical to the local file");
    return true;
  }

  bool ShowQuota() {
    QuotaFigures figures;
    const ResultCode r = connection_.QueryQuota(&figures);
    if (r != result::kSuccess) return Fail("quota", r, "");
    Print("quota", "used " + GroupDigits(static_cast<uint64_t>(figures.used)) + " of " +
                       GroupDigits(static_cast<uint64_t>(figures.quota)) + " bytes (free " +
                       GroupDigits(static_cast<uint64_t>(figures.free)) + ")");
    return true;
  }

  bool PublishFolder() {
    ResultCode r = SetDisplaySetting(*session_, root_, plan_.display);
    if (r != result::kSuccess) return Fail("publish", r, root_);
    r = Publish(*session_, folder_);
    if (r != result::kSuccess) return Fail("publish", r, folder_);
    r = QueryPublicAddress(*session_, folder_, &outcome_.public_address);
    if (r != result::kSuccess) return Fail("publish", r, folder_);
    const std::string shown = plan_.display.mode == DisplayMode::kCustom
                                  ? "\"" + plan_.display.name + "\""
                                  : std::string("the mail address");
    Print("publish", folder_ + " as " + shown + " at " + outcome_.public_address);
    return true;
  }

  Env& env_;
  const DemoPlan& plan_;
  const DemoOutput& out_;
  ServerConnection connection_;
  ResultCode reported_ = result::kSuccess;
  ServerSession* session_ = nullptr;
  std::string root_;
  std::string folder_;
  std::string mirror_;
  std::vector<FindData> local_;
  DemoOutcome outcome_;
};

}  // namespace

DemoOutcome RunDemo(Env& env, NetPlatform net, const DemoPlan& plan, const DemoOutput& out) {
  DemoRun run(env, net, plan, out);
  return run.Run();
}

}  // namespace qbrk::demo
