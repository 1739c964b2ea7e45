#include "faults.h"

#include "content_range.h"

namespace qbrk::emulator {

std::vector<std::string_view> SplitWords(std::string_view line) {
  std::vector<std::string_view> words;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t' || line[i] == '\r'))
      ++i;
    const size_t start = i;
    while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r')
      ++i;
    if (i > start) words.push_back(line.substr(start, i - start));
  }
  return words;
}

bool FaultRule::Matches(std::string_view request_method, std::string_view request_path) const {
  if (method != "*" && method != request_method) return false;
  if (!path.empty() && path.back() == '*') {
    const std::string_view prefix = std::string_view(path).substr(0, path.size() - 1);
    return request_path.substr(0, prefix.size()) == prefix;
  }
  return path == request_path;
}

std::string FaultRule::ToText() const {
  std::string text = method + " " + path;
  if (status != 0) text += " status=" + std::to_string(status);
  if (delay_ms != 0) text += " delay=" + std::to_string(delay_ms);
  if (cut_request_after) text += " cut-request=" + std::to_string(*cut_request_after);
  if (cut_response_after) text += " cut-response=" + std::to_string(*cut_response_after);
  if (version) text += " version=" + *version;
  if (times >= 0) text += " times=" + std::to_string(times);
  return text;
}

Checked<FaultRule> ParseFaultRule(std::string_view line) {
  const std::vector<std::string_view> words = SplitWords(line);
  if (words.size() < 2) return Refusal{400, "a fault needs a method and a path"};
  FaultRule rule;
  rule.method = std::string(words[0]);
  rule.path = std::string(words[1]);
  if (rule.path.empty() || (rule.path[0] != '/' && rule.path != "*")) {
    return Refusal{400, "a fault path starts with /"};
  }
  for (size_t i = 2; i < words.size(); ++i) {
    const size_t eq = words[i].find('=');
    if (eq == std::string_view::npos) return Refusal{400, "expected key=value"};
    const std::string_view key = words[i].substr(0, eq);
    const std::string_view value = words[i].substr(eq + 1);
    if (key == "version") {
      rule.version = std::string(value);
      continue;
    }
    const auto number = ParseDecimal(value);
    if (!number) return Refusal{400, "not a number: " + std::string(words[i])};
    if (key == "status" && *number >= 100 && *number <= 599) {
      rule.status = static_cast<int>(*number);
    } else if (key == "delay" && *number <= 600000) {
      rule.delay_ms = static_cast<int64_t>(*number);
    } else if (key == "cut-request") {
      rule.cut_request_after = *number;
    } else if (key == "cut-response") {
      rule.cut_response_after = *number;
    } else if (key == "times") {
      rule.times = static_cast<int64_t>(*number);
    } else {
      return Refusal{400, "unknown or out of range: " + std::string(words[i])};
    }
  }
  return rule;
}

std::optional<FaultRule> FaultTable::Take(std::string_view method, std::string_view path) {
  for (auto it = rules_.begin(); it != rules_.end(); ++it) {
    if (it->times == 0 || !it->Matches(method, path)) continue;
    FaultRule fired = *it;
    if (it->times > 0 && --it->times == 0) rules_.erase(it);
    return fired;
  }
  return std::nullopt;
}

std::string FaultTable::ToText() const {
  std::string text;
  for (const FaultRule& rule : rules_)
    text += rule.ToText() + "\n";
  return text;
}

}  // namespace qbrk::emulator
