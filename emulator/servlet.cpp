// The servlet's commands. Each body is "CMND " + a path of the caller's disk, as raw bytes
// (not percent-escaped), and for PSDS further lines.
#include <algorithm>
#include <mutex>

#include "auth.h"
#include "core/disk_path.h"
#include "core/http_date.h"
#include "core/percent_encoding.h"
#include "core/shift_jis.h"
#include "publishing.h"

namespace qbrk::emulator {

namespace {

constexpr size_t kMaxCommandBytes = 1 << 16;

// The answer's body exactly as given: the client takes it whole.
Response Answer(int status, std::string body = {}) {
  Response r;
  r.status = status;
  if (status != 204) r.headers.Add("Content-Type", "text/plain; charset=Shift_JIS");
  r.body = std::move(body);
  return r;
}

std::vector<std::string> SplitLines(const std::string& body) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (;;) {
    const size_t end = body.find("\r\n", start);
    lines.push_back(body.substr(start, end == std::string::npos ? end : end - start));
    if (end == std::string::npos) break;
    start = end + 2;
  }
  return lines;
}

std::string PublicAddress(const ServiceState& state, const Publication& p, std::string_view rel,
                          bool folder) {
  std::string inside(rel.substr(p.rel.size()));
  if (!inside.empty() && inside.front() == '/') inside.erase(0, 1);
  std::string address = state.PublicBase() + kPublicPrefix + p.token + "/" + PercentEncode(inside);
  if (folder && !inside.empty()) address += '/';
  return address;
}

class Command {
 public:
  Command(ServiceState& state, Account& account) : state_(state), account_(account) {}

  Response Run(const std::string& body) {
    const std::vector<std::string> lines = SplitLines(body);
    if (lines[0].size() < 6 || lines[0][4] != ' ') {
      return RefusalResponse({400, "expected a command, a blank and a path"});
    }
    const std::string name = lines[0].substr(0, 4);
    static constexpr std::string_view kCommands[] = {"PUBT", "PUBF", "PUBQ", "PTIM",
                                                     "PURL", "PSDS", "PGDS"};
    if (std::find(std::begin(kCommands), std::end(kCommands), name) == std::end(kCommands)) {
      return RefusalResponse({400, "unknown command " + name});
    }
    auto target = ParseDiskTarget(std::string_view(lines[0]).substr(5), false);
    if (!target.ok()) return RefusalResponse(target.refusal());
    if (target.value().user != account_.mail) {
      return RefusalResponse({403, "not your disk"});
    }
    rel_ = target.value().path.rel;
    std::lock_guard<std::mutex> lock(state_.mu);
    node_ = account_.disk.Stat(rel_);
    const bool single_line = lines.size() == 1;
    if (name == "PSDS") return SetDisplay(lines);
    if (!single_line) return RefusalResponse({400, "this command takes one line"});
    if (name == "PGDS") return GetDisplay();
    if (name == "PURL") return Url();
    if (!node_.exists()) return RefusalResponse({404, "no such folder"});
    if (!node_.is_folder()) return RefusalResponse({409, "only folders are published"});
    const Publication* p = state_.publications.FindByPath(account_.mail, rel_);
    if (name == "PUBT") return Publish();
    if (name == "PUBQ") return Answer(200, p ? "true" : "false");
    if (!p) return RefusalResponse({409, "the folder is not published"});
    if (name == "PUBF") {
      state_.publications.Unpublish(account_.mail, rel_);
      return Saved(Answer(204));
    }
    return Answer(200, FormatHttpDate(p->since));  // PTIM
  }

 private:
  Response Saved(Response r) {
    if (!state_.publications.Save()) return RefusalResponse({500, "cannot save publications"});
    return r;
  }

  Response Publish() {
    state_.publications.Publish({account_.mail, rel_, RandomHex(16), time(nullptr)});
    return Saved(Answer(204));
  }

  // Folders have addresses once published; files inside a published folder too.
  Response Url() {
    if (!node_.exists()) return RefusalResponse({404, "no such file or folder"});
    const Publication* p = state_.publications.Nearest(account_.mail, rel_);
    if (!p) return RefusalResponse({409, "not inside a published folder"});
    return Answer(200, PublicAddress(state_, *p, rel_, node_.is_folder()));
  }

  // The display setting belongs to the account and is addressed by its disk root.
  Response SetDisplay(const std::vector<std::string>& lines) {
    if (!rel_.empty()) return RefusalResponse({404, "the display name is set on the disk root"});
    DisplaySetting setting;
    if (lines.size() == 2 && lines[1] == "mail") {
      setting.custom = false;
    } else if (lines.size() <= 3 && lines.size() >= 2 && lines[1] == "custom") {
      setting.custom = true;
      setting.name = lines.size() == 3 ? lines[2] : std::string();
      if (!IsCreatableName(setting.name) && !setting.name.empty()) {
        return RefusalResponse({400, "control characters in the name"});
      }
      if (CountShiftJisChars(setting.name) > kMaxDisplayNameChars) {
        return RefusalResponse({400, "the name is longer than 40 characters"});
      }
    } else {
      return RefusalResponse({400, "expected \"mail\" or \"custom\" and a name"});
    }
    state_.publications.SetDisplay(account_.mail, std::move(setting));
    return Saved(Answer(204));
  }

  Response GetDisplay() {
    if (!rel_.empty()) return RefusalResponse({404, "the display name is read on the disk root"});
    const DisplaySetting setting = state_.publications.Display(account_.mail);
    return Answer(200, setting.custom ? "custom\r\n" + setting.name : "mail");
  }

  ServiceState& state_;
  Account& account_;
  std::string rel_;
  Node node_;
};

}  // namespace

std::unique_ptr<Exchange> BeginServlet(ServiceState& state, RequestHead head) {
  Checked<Account*> account = Authenticate(state.accounts, head.headers);
  if (!account.ok()) return Fixed(Unauthorized(account.refusal()));
  if (head.method != "POST") {
    Response r = RefusalResponse({405, "the servlet takes POST"});
    r.headers.Add("Allow", "POST");
    return Fixed(std::move(r));
  }
  return std::make_unique<BodyExchange>(
      kMaxCommandBytes,
      [&state, acc = account.value()](std::string body) { return Command(state, *acc).Run(body); });
}

}  // namespace qbrk::emulator
