#include "control.h"

#include <cstring>
#include <mutex>

#include "core/content_range.h"
#include "core/disk_path.h"
#include "core/faults.h"
#include "core/xml_text.h"

namespace qbrk::emulator {

namespace {

constexpr char kHelp[] =
    "GET|POST|DELETE /_emulator/faults\n"
    "GET|POST|DELETE /_emulator/locks\n"
    "POST /_emulator/clock\n"
    "GET|POST /_emulator/settings\n";

constexpr char kOtherOwner[] = "someone-else@example.jp";

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (!line.empty()) lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

std::string LockList(ServiceState& state) {
  std::string text;
  for (const Lock& lock : state.locks.all()) {
    const int64_t left = (lock.expires_ms - state.NowMs() + 999) / 1000;
    text += lock.token + " " + DiskRootHref(lock.user) + lock.rel + " " + lock.owner_xml + " " +
            std::to_string(left) + "\n";
  }
  return text;
}

std::string SettingsText(ServiceState& state) {
  std::string text = "vfs-version=" + state.config.vfs_version.value_or("") + "\n" +
                     "preferred-host=" + state.config.preferred_host + "\n";
  for (auto& account : state.accounts.all()) {
    text += "account=" + account->mail + " used=" + std::to_string(account->used) +
            " quota=" + std::to_string(account->quota) + "\n";
  }
  return text;
}

Response Text(const Checked<std::string>& result) {
  if (!result.ok()) return RefusalResponse(result.refusal());
  Response r;
  r.headers.Add("Content-Type", "text/plain; charset=utf-8");
  r.body = result.value();
  return r;
}

Response Run(ServiceState& state, const std::string& what, const std::string& method,
             const std::string& body) {
  std::lock_guard<std::mutex> lock(state.mu);
  state.ExpireLocks();
  if (what.empty() && method == "GET") return Text(std::string(kHelp));
  if (what == "faults") {
    if (method == "GET") return Text(state.faults.ToText());
    if (method == "POST") return Text(AddFaults(state, body));
    if (method == "DELETE") {
      state.faults.Clear();
      return Text(std::string());
    }
  } else if (what == "locks") {
    if (method == "GET") return Text(LockList(state));
    if (method == "POST") return Text(HoldLock(state, body));
    if (method == "DELETE") {
      for (const Lock& l : state.locks.Expire(INT64_MAX))
        state.staging.DropToken(l.token);
      return Text(std::string());
    }
  } else if (what == "clock" && method == "POST") {
    const std::string_view line = Lines(body).empty() ? "" : Lines(body)[0];
    const auto seconds =
        line.substr(0, 8) == "advance=" ? ParseDecimal(line.substr(8)) : std::nullopt;
    if (!seconds) return RefusalResponse({400, "expected advance=SECONDS"});
    state.clock_offset_ms += static_cast<int64_t>(*seconds) * 1000;
    state.ExpireLocks();
    return Text(std::string());
  } else if (what == "settings") {
    if (method == "GET") return Text(SettingsText(state));
    if (method == "POST") return Text(ChangeSettings(state, body));
  } else {
    return RefusalResponse({404, "no such control"});
  }
  return RefusalResponse({405, "method not offered here"});
}

}  // namespace

Checked<std::string> AddFaults(ServiceState& state, std::string_view lines) {
  std::vector<FaultRule> rules;
  for (std::string_view line : Lines(lines)) {
    auto rule = ParseFaultRule(line);
    if (!rule.ok()) return rule.refusal();
    rules.push_back(std::move(rule.value()));
  }
  for (FaultRule& rule : rules)
    state.faults.Add(std::move(rule));
  return state.faults.ToText();
}

Checked<std::string> HoldLock(ServiceState& state, std::string_view line) {
  const std::vector<std::string_view> words = SplitWords(Lines(line).empty() ? "" : Lines(line)[0]);
  if (words.empty()) return Refusal{400, "expected a path"};
  auto target = ParseDiskTarget(words[0], false);
  if (!target.ok()) return target.refusal();
  Account* account = state.accounts.FindByDiskUser(target.value().user);
  if (account == nullptr) return Refusal{404, "no such account"};
  Lock lock;
  lock.user = account->mail;
  lock.rel = target.value().path.rel;
  lock.owner_xml = kOtherOwner;
  lock.timeout_seconds = 3600;
  for (size_t i = 1; i < words.size(); ++i) {
    const std::string_view word = words[i];
    if (word.substr(0, 6) == "owner=") {
      lock.owner_xml = XmlEscape(word.substr(6));
    } else if (word.substr(0, 8) == "timeout=" && ParseDecimal(word.substr(8))) {
      lock.timeout_seconds = static_cast<int64_t>(*ParseDecimal(word.substr(8)));
    } else if (word == "scope=shared") {
      lock.scope = LockScope::kShared;
    } else if (word == "depth=infinity") {
      lock.infinite = true;
    } else {
      return Refusal{400, "unknown: " + std::string(word)};
    }
  }
  if (state.locks.Conflicts(lock.user, lock.rel, lock.scope, lock.infinite)) {
    return Refusal{423, "already locked"};
  }
  lock.token = NewLockToken();
  lock.expires_ms = state.NowMs() + lock.timeout_seconds * 1000;
  lock.null_resource = !account->disk.Stat(lock.rel).exists();
  return state.locks.Add(std::move(lock)).token + "\n";
}

Checked<std::string> ChangeSettings(ServiceState& state, std::string_view lines) {
  for (std::string_view line : Lines(lines)) {
    const size_t eq = line.find('=');
    const std::string_view key = line.substr(0, eq);
    const std::string_view value = eq == std::string_view::npos ? "" : line.substr(eq + 1);
    if (eq == std::string_view::npos) return Refusal{400, "expected key=value"};
    if (key == "vfs-version") {
      state.config.vfs_version =
          value.empty() ? std::nullopt : std::optional<std::string>(std::string(value));
    } else if (key == "preferred-host") {
      state.config.preferred_host = std::string(value);
    } else if (key == "quota") {
      const std::vector<std::string_view> words = SplitWords(value);
      Account* account = words.size() == 2 ? state.accounts.Find(words[0]) : nullptr;
      const auto bytes = words.size() == 2 ? ParseDecimal(words[1]) : std::nullopt;
      if (account == nullptr || !bytes) return Refusal{400, "expected quota=MAIL BYTES"};
      account->quota = *bytes;
    } else {
      return Refusal{400, "unknown setting " + std::string(key)};
    }
  }
  return SettingsText(state);
}

std::unique_ptr<Exchange> BeginControl(ServiceState& state, RequestHead head) {
  const std::string what = head.target.substr(std::strlen(kControlPrefix));
  return std::make_unique<BodyExchange>(1 << 16,
                                        [&state, what, method = head.method](std::string body) {
                                          return Run(state, what, method, body);
                                        });
}

}  // namespace qbrk::emulator
