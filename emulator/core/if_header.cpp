#include "if_header.h"

#include <algorithm>

namespace qbrk::emulator {

namespace {

class IfParser {
 public:
  explicit IfParser(std::string_view text) : text_(text) {}

  std::optional<IfHeader> Parse() {
    IfHeader header;
    SkipSpace();
    if (AtEnd()) return std::nullopt;
    const bool tagged = Peek() == '<';
    while (!AtEnd()) {
      IfGroup group;
      if (tagged) {
        auto resource = Delimited('<', '>');
        if (!resource) return std::nullopt;
        group.resource = std::move(*resource);
        SkipSpace();
      }
      while (!AtEnd() && Peek() == '(') {
        auto list = ParseList();
        if (!list) return std::nullopt;
        group.lists.push_back(std::move(*list));
        SkipSpace();
      }
      if (group.lists.empty()) return std::nullopt;
      header.groups.push_back(std::move(group));
      // An untagged header is one group; a tagged header repeats "<tag> (list)...".
      if (!AtEnd() && (!tagged || Peek() != '<')) return std::nullopt;
    }
    return header;
  }

 private:
  bool AtEnd() const { return pos_ >= text_.size(); }
  char Peek() const { return text_[pos_]; }
  void SkipSpace() {
    while (!AtEnd() && (Peek() == ' ' || Peek() == '\t'))
      ++pos_;
  }

  std::optional<std::string> Delimited(char open, char close) {
    if (AtEnd() || Peek() != open) return std::nullopt;
    const size_t end = text_.find(close, pos_ + 1);
    if (end == std::string_view::npos) return std::nullopt;
    std::string inner(text_.substr(pos_ + 1, end - pos_ - 1));
    pos_ = end + 1;
    return inner;
  }

  std::optional<IfList> ParseList() {
    ++pos_;  // "("
    IfList list;
    for (;;) {
      SkipSpace();
      if (AtEnd()) return std::nullopt;
      if (Peek() == ')') {
        ++pos_;
        break;
      }
      IfCondition condition;
      if (text_.substr(pos_, 3) == "Not") {
        condition.negated = true;
        pos_ += 3;
        SkipSpace();
        if (AtEnd()) return std::nullopt;
      }
      condition.is_etag = Peek() == '[';
      auto value = condition.is_etag ? Delimited('[', ']') : Delimited('<', '>');
      if (!value || value->empty()) return std::nullopt;
      condition.value = std::move(*value);
      list.conditions.push_back(std::move(condition));
    }
    if (list.conditions.empty()) return std::nullopt;
    return list;
  }

  std::string_view text_;
  size_t pos_ = 0;
};

bool Holds(const IfCondition& condition, const ResourceState& state) {
  bool matches;
  if (condition.is_etag) {
    matches = !state.etag.empty() && condition.value == state.etag;
  } else {
    matches = std::find(state.lock_tokens.begin(), state.lock_tokens.end(), condition.value) !=
              state.lock_tokens.end();
  }
  return matches != condition.negated;
}

}  // namespace

std::vector<std::string> IfHeader::SubmittedTokens() const {
  std::vector<std::string> tokens;
  for (const IfGroup& group : groups) {
    for (const IfList& list : group.lists) {
      for (const IfCondition& c : list.conditions) {
        if (!c.negated && !c.is_etag) tokens.push_back(c.value);
      }
    }
  }
  return tokens;
}

std::optional<IfHeader> ParseIfHeader(std::string_view value) {
  return IfParser(value).Parse();
}

bool EvaluateIfHeader(const IfHeader& header, const ResourceStateLookup& state_of) {
  for (const IfGroup& group : header.groups) {
    const ResourceState state = state_of(group.resource);
    for (const IfList& list : group.lists) {
      if (std::all_of(list.conditions.begin(), list.conditions.end(),
                      [&](const IfCondition& c) { return Holds(c, state); })) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace qbrk::emulator
