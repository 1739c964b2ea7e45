#include "service.h"

#include <unistd.h>

#include <cstring>
#include <mutex>

#include "control.h"
#include "core/percent_encoding.h"
#include "dav_handler.h"
#include "fault_exchange.h"
#include "publishing.h"
#include "service_state.h"

namespace qbrk::emulator {

namespace {

std::unique_ptr<Exchange> Route(ServiceState& state, RequestHead head) {
  const std::string& target = head.target;
  if (target == state.config.servlet_path) return BeginServlet(state, std::move(head));
  if (target.starts_with(kPublicPrefix)) return BeginPublicPage(state, std::move(head));
  if (target.starts_with("/~")) return BeginDav(state, std::move(head));
  return Refuse({404, "nothing here"});
}

void RemoveLeftovers(const std::string& dir) {
  DiskStore temp(dir);
  for (const std::string& name : temp.Children(""))
    temp.RemoveTree(name);
}

}  // namespace

std::string BufferedResponse::Header(std::string_view name) const {
  return std::string(FindHeader(headers, name).value_or(std::string_view()));
}

Service::Service() : state_(std::make_unique<ServiceState>()) {}

Service::~Service() = default;

std::unique_ptr<Service> Service::Create(const EmulatorConfig& config, std::string* error) {
  std::unique_ptr<Service> service(new Service());
  ServiceState& state = *service->state_;
  state.config = config;
  if (config.data_dir.empty()) {
    *error = "no data folder given";
    return nullptr;
  }
  if (config.accounts.empty()) {
    *error = "no account given";
    return nullptr;
  }
  state.state_dir = config.data_dir + "/.state";
  state.temp_dir = state.state_dir + "/tmp";
  if (MakeFolders(state.temp_dir) != 0) {
    *error = "cannot create " + state.temp_dir;
    return nullptr;
  }
  // Unfinished uploads of an earlier run: their locks are gone with it.
  RemoveLeftovers(state.temp_dir);
  if (!state.accounts.Init(config.accounts, config.quota_bytes, config.data_dir + "/accounts",
                           error)) {
    return nullptr;
  }
  std::string warning;
  state.publications.Load(state.state_dir + "/publications.xml", &warning);
  if (!warning.empty()) service->warnings_.push_back(warning);
  warning.clear();
  state.properties.Load(state.state_dir + "/properties.xml", &warning);
  if (!warning.empty()) service->warnings_.push_back(warning);
  std::lock_guard<std::mutex> lock(state.mu);
  for (const std::string& rule : config.faults) {
    auto added = AddFaults(state, rule);
    if (!added.ok()) {
      *error = "bad fault \"" + rule + "\": " + added.refusal().reason;
      return nullptr;
    }
  }
  for (const std::string& held : config.held_locks) {
    auto added = HoldLock(state, held);
    if (!added.ok()) {
      *error = "bad lock \"" + held + "\": " + added.refusal().reason;
      return nullptr;
    }
  }
  return service;
}

void Service::SetBaseUrl(std::string url) {
  std::lock_guard<std::mutex> lock(state_->mu);
  state_->base_url = std::move(url);
}

std::unique_ptr<Exchange> Service::Begin(RequestHead head) {
  ServiceState& state = *state_;
  if (state.config.control && head.target.starts_with(kControlPrefix)) {
    return BeginControl(state, std::move(head));
  }
  std::optional<FaultRule> rule;
  {
    std::lock_guard<std::mutex> lock(state.mu);
    const std::string path = PercentDecode(head.target).value_or(head.target);
    rule = state.faults.Take(head.method, path);
  }
  if (!rule) return Route(state, std::move(head));
  std::unique_ptr<Exchange> inner =
      rule->status != 0 ? Refuse({rule->status, "injected fault"}) : Route(state, std::move(head));
  return std::make_unique<FaultExchange>(std::move(inner), std::move(*rule), state);
}

BufferedResponse Service::Handle(std::string method, std::string target,
                                 std::vector<std::pair<std::string, std::string>> headers,
                                 std::string_view body) {
  try {
    return HandleWhole(std::move(method), std::move(target), std::move(headers), body);
  } catch (const std::exception& e) {
    BufferedResponse out;
    out.status = 500;
    out.body = e.what();
    return out;
  }
}

BufferedResponse Service::HandleWhole(std::string method, std::string target,
                                      std::vector<std::pair<std::string, std::string>> headers,
                                      std::string_view body) {
  RequestHead head;
  head.method = std::move(method);
  head.target = std::move(target);
  for (auto& [name, value] : headers)
    head.headers.Add(std::move(name), std::move(value));
  const bool is_head = head.method == "HEAD";
  std::unique_ptr<Exchange> exchange = Begin(std::move(head));
  BufferedResponse out;
  if (!exchange->Consume(body.data(), body.size())) {
    out.connection_cut = true;
    return out;
  }
  Response r = exchange->Finish();
  out.status = r.status;
  for (const auto& field : r.headers.fields())
    out.headers.push_back(field);
  out.headers.emplace_back("Content-Length", std::to_string(r.BodyLength()));
  if (!is_head) {
    if (auto* text = std::get_if<std::string>(&r.body)) {
      out.body = std::move(*text);
    } else {
      FileBody& file = std::get<FileBody>(r.body);
      out.body.resize(file.length);
      size_t done = 0;
      while (done < file.length) {
        const ssize_t n = ::pread(file.fd.get(), out.body.data() + done, file.length - done,
                                  static_cast<off_t>(file.offset + done));
        if (n <= 0) break;
        done += static_cast<size_t>(n);
      }
      out.body.resize(done);
    }
  }
  if (r.cut_after && *r.cut_after < out.body.size()) {
    out.body.resize(*r.cut_after);
    out.connection_cut = true;
  }
  return out;
}

void Service::AdvanceClock(int64_t seconds) {
  state_->clock_offset_ms += seconds * 1000;
}

void Service::Stop() {
  state_->Stop();
}

}  // namespace qbrk::emulator
