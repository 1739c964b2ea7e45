// Faults injected on purpose, per method and path, for tests of the client.
//
// A rule is one line: "METHOD PATH [status=N] [delay=MS] [cut-request=N] [cut-response=N]
// [version=V] [times=N]". METHOD is a method or "*"; PATH is the decoded request path, and a
// trailing "*" makes it a prefix. status answers at once without doing anything; delay
// holds the answer back; cut-request drops the connection after N bytes of the request
// body; cut-response after N bytes of the response body; version replaces the
// X-HV-VFS-Version header ("version=" leaves it out); times limits how often the rule fires.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "checked.h"

namespace qbrk::emulator {

struct FaultRule {
  std::string method;
  std::string path;
  int status = 0;
  int64_t delay_ms = 0;
  std::optional<uint64_t> cut_request_after;
  std::optional<uint64_t> cut_response_after;
  std::optional<std::string> version;
  int64_t times = -1;  // -1: every time

  bool Matches(std::string_view request_method, std::string_view request_path) const;
  std::string ToText() const;
};

Checked<FaultRule> ParseFaultRule(std::string_view line);

class FaultTable {
 public:
  void Add(FaultRule rule) { rules_.push_back(std::move(rule)); }
  void Clear() { rules_.clear(); }
  // The first rule that matches, counted as fired.
  std::optional<FaultRule> Take(std::string_view method, std::string_view path);
  // One rule per line, as they would be written.
  std::string ToText() const;

 private:
  std::vector<FaultRule> rules_;
};

// Splits "a b=c d" into words, for the control endpoint's one-line commands.
std::vector<std::string_view> SplitWords(std::string_view line);

}  // namespace qbrk::emulator
