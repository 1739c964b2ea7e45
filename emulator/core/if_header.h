// The WebDAV "If" request header: lists of lock-token and entity-tag conditions, either
// for the request's own resource or tagged with another resource's address.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qbrk::emulator {

struct IfCondition {
  bool negated = false;
  bool is_etag = false;
  // A state token without its angle brackets, or an entity tag as written inside [ ].
  std::string value;
};

struct IfList {
  std::vector<IfCondition> conditions;
};

struct IfGroup {
  // The tagged resource's address as written, or nothing for the request's own resource.
  std::optional<std::string> resource;
  std::vector<IfList> lists;
};

struct IfHeader {
  std::vector<IfGroup> groups;

  // Lock tokens the client presents: every state token that is not negated.
  std::vector<std::string> SubmittedTokens() const;
};

// Nothing when the value does not follow the grammar.
std::optional<IfHeader> ParseIfHeader(std::string_view value);

// What a condition is tested against: the lock tokens that cover a resource and its
// entity tag (empty when it has none or does not exist).
struct ResourceState {
  std::vector<std::string> lock_tokens;
  std::string etag;
};

using ResourceStateLookup = std::function<ResourceState(const std::optional<std::string>& tag)>;

// True when at least one list holds entirely.
bool EvaluateIfHeader(const IfHeader& header, const ResourceStateLookup& state_of);

}  // namespace qbrk::emulator
