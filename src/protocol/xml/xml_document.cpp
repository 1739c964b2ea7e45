#include "protocol/xml/xml_document.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace qbrk {

namespace {

constexpr bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Bytes that end a tag or attribute name.
constexpr std::array<bool, 256> MakeNameEnds() {
  std::array<bool, 256> ends{};
  for (char c : {' ', '\t', '\r', '\n', '/', '>', '=', '<', '"', '\''})
    ends[static_cast<unsigned char>(c)] = true;
  return ends;
}
constexpr std::array<bool, 256> kNameEnds = MakeNameEnds();

bool IsNameEnd(char c) {
  return kNameEnds[static_cast<unsigned char>(c)];
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The character an entity body (between "&" and ";") stands for; false when unknown.
// Character references are taken only below 0x80: the document's bytes are the server's
// code page, so a wider character has no single agreed byte form here.
bool DecodeEntity(std::string_view body, char* out) {
  if (body == "lt") return *out = '<', true;
  if (body == "gt") return *out = '>', true;
  if (body == "amp") return *out = '&', true;
  if (body == "quot") return *out = '"', true;
  if (body == "apos") return *out = '\'', true;
  if (body.size() < 2 || body[0] != '#') return false;
  const bool hex = body[1] == 'x';
  std::string_view digits = body.substr(hex ? 2 : 1);
  if (digits.empty()) return false;
  int value = 0;
  for (char c : digits) {
    const int d = hex ? HexDigit(c) : (c >= '0' && c <= '9' ? c - '0' : -1);
    if (d < 0) return false;
    value = value * (hex ? 16 : 10) + d;
    if (value >= 0x80) return false;
  }
  if (value == 0) return false;
  *out = static_cast<char>(value);
  return true;
}

// Longest entity body looked at: "#x0000007F" and the like.
constexpr size_t kMaxEntityBody = 10;

}  // namespace

class XmlDocument::Parser {
 public:
  Parser(std::string& text, NodeStore& nodes) : s_(text.data()), n_(text.size()), nodes_(nodes) {}

  XmlError Run() {
    if (n_ >= Node::kElementBit) return XmlError::kTooLarge;
    if (std::memchr(s_, '\0', n_)) return XmlError::kBadCharacter;
    nodes_.Add(Node{0, Node::kElementBit, 0, 0});
    stack_.push_back(Open{0, 0});
    while (pos_ < n_) {
      const XmlError error = s_[pos_] == '<' ? Markup() : CharacterData();
      if (error != XmlError::kNone) return error;
    }
    if (stack_.size() > 1) return XmlError::kTruncated;
    return root_seen_ ? XmlError::kNone : XmlError::kNoElement;
  }

 private:
  struct Open {
    XmlNodeId node;
    XmlNodeId last_child;
  };

  bool AtTopLevel() const { return stack_.size() == 1; }
  bool StartsWith(const char* prefix, size_t length) const {
    return n_ - pos_ >= length && std::memcmp(s_ + pos_, prefix, length) == 0;
  }

  XmlNodeId Add(bool element, size_t begin, size_t length) {
    const XmlNodeId id =
        nodes_.Add(Node{static_cast<uint32_t>(begin),
                        static_cast<uint32_t>(length) | (element ? Node::kElementBit : 0), 0, 0});
    Open& parent = stack_.back();
    if (parent.last_child == 0) {
      nodes_[parent.node].first_child = id;
    } else {
      nodes_[parent.last_child].next_sibling = id;
    }
    parent.last_child = id;
    return id;
  }

  XmlError Markup() {
    if (StartsWith("<?", 2)) return SkipPast("?>", 2);
    if (StartsWith("<!--", 4)) return SkipPast("-->", 4);
    if (StartsWith("<![CDATA[", 9)) return Cdata();
    if (StartsWith("<!", 2)) return Declaration();
    if (StartsWith("</", 2)) return EndTag();
    return StartTag();
  }

  // Skips from the current "<" to just after `terminator`.
  XmlError SkipPast(std::string_view terminator, size_t opener_length) {
    const size_t at = std::string_view(s_, n_).find(terminator, pos_ + opener_length);
    if (at == std::string_view::npos) return XmlError::kTruncated;
    pos_ = at + terminator.size();
    return XmlError::kNone;
  }

  // A DOCTYPE (or another "<!" declaration) before the root element, with an internal subset
  // in brackets and quoted literals that may hold ">".
  XmlError Declaration() {
    if (root_seen_ || !AtTopLevel()) return XmlError::kBadSyntax;
    int depth = 0;
    char quote = 0;
    for (size_t p = pos_ + 2; p < n_; ++p) {
      const char c = s_[p];
      if (quote) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '[') {
        ++depth;
      } else if (c == ']') {
        if (--depth < 0) return XmlError::kBadSyntax;
      } else if (c == '>' && depth == 0) {
        pos_ = p + 1;
        return XmlError::kNone;
      }
    }
    return XmlError::kTruncated;
  }

  XmlError Cdata() {
    if (AtTopLevel()) return XmlError::kBadSyntax;
    const size_t begin = pos_ + 9;
    const size_t end = std::string_view(s_, n_).find("]]>", begin);
    if (end == std::string_view::npos) return XmlError::kTruncated;
    AppendText(begin, end, false);
    pos_ = end + 3;
    return XmlError::kNone;
  }

  XmlError CharacterData() {
    const void* lt = std::memchr(s_ + pos_, '<', n_ - pos_);
    const size_t end = lt ? static_cast<const char*>(lt) - s_ : n_;
    const size_t from = pos_;
    pos_ = end;
    if (text_node_ == 0 && AllSpace(from, end)) {
      if (AtTopLevel()) return XmlError::kNone;
      // White space between elements is dropped; an element's whole content is kept.
      const bool closes_element = end + 1 < n_ && s_[end + 1] == '/';
      if (!closes_element || stack_.back().last_child != 0) return XmlError::kNone;
    }
    if (AtTopLevel()) return XmlError::kBadSyntax;
    return AppendText(from, end, true);
  }

  bool AllSpace(size_t from, size_t to) const {
    for (size_t p = from; p < to; ++p)
      if (!IsSpace(s_[p])) return false;
    return true;
  }

  // Adds s_[from, to) to the text node being built, resolving entities when `decode` is set.
  // The text is moved down in place: the write position never passes the read position.
  XmlError AppendText(size_t from, size_t to, bool decode) {
    if (text_node_ == 0) text_node_ = Add(false, from, 0);
    Node& text = nodes_[text_node_];
    size_t write = text.begin + text.length();
    auto copy = [&](size_t a, size_t b) {
      if (write != a) std::memmove(s_ + write, s_ + a, b - a);
      write += b - a;
    };
    while (from < to) {
      const void* amp = decode ? std::memchr(s_ + from, '&', to - from) : nullptr;
      if (!amp) {
        copy(from, to);
        break;
      }
      const size_t at = static_cast<const char*>(amp) - s_;
      copy(from, at);
      const size_t limit = std::min(to, at + 2 + kMaxEntityBody);
      const void* semi = std::memchr(s_ + at + 1, ';', limit - (at + 1));
      if (!semi) return XmlError::kBadEntity;
      const size_t end = static_cast<const char*>(semi) - s_;
      char decoded = 0;
      if (!DecodeEntity(std::string_view(s_ + at + 1, end - at - 1), &decoded))
        return XmlError::kBadEntity;
      s_[write++] = decoded;
      from = end + 1;
    }
    text.length_and_kind = static_cast<uint32_t>(write - text.begin);
    return XmlError::kNone;
  }

  XmlError StartTag() {
    size_t p = pos_ + 1;
    const size_t name_begin = p;
    while (p < n_ && !IsNameEnd(s_[p]))
      ++p;
    if (p >= n_) return XmlError::kTruncated;
    if (p == name_begin) return XmlError::kBadSyntax;
    if (AtTopLevel() && root_seen_) return XmlError::kBadSyntax;  // a second root element
    root_seen_ = true;
    text_node_ = 0;
    const XmlNodeId element = Add(true, name_begin, p - name_begin);
    for (;;) {
      while (p < n_ && IsSpace(s_[p]))
        ++p;
      if (p >= n_) return XmlError::kTruncated;
      if (s_[p] == '>') {
        stack_.push_back(Open{element, 0});
        pos_ = p + 1;
        return XmlError::kNone;
      }
      if (s_[p] == '/') {
        if (p + 1 >= n_) return XmlError::kTruncated;
        if (s_[p + 1] != '>') return XmlError::kBadSyntax;
        pos_ = p + 2;
        return XmlError::kNone;
      }
      const XmlError error = SkipAttribute(&p);
      if (error != XmlError::kNone) return error;
    }
  }

  // name, optional blanks, "=", optional blanks, a value in single or double quotes.
  XmlError SkipAttribute(size_t* at) {
    size_t p = *at;
    const size_t name_begin = p;
    while (p < n_ && !IsNameEnd(s_[p]))
      ++p;
    if (p == name_begin) return p >= n_ ? XmlError::kTruncated : XmlError::kBadSyntax;
    while (p < n_ && IsSpace(s_[p]))
      ++p;
    if (p >= n_) return XmlError::kTruncated;
    if (s_[p] != '=') return XmlError::kBadSyntax;
    ++p;
    while (p < n_ && IsSpace(s_[p]))
      ++p;
    if (p >= n_) return XmlError::kTruncated;
    const char quote = s_[p];
    if (quote != '"' && quote != '\'') return XmlError::kBadSyntax;
    const void* close = std::memchr(s_ + p + 1, quote, n_ - p - 1);
    if (!close) return XmlError::kTruncated;
    const size_t end = static_cast<const char*>(close) - s_;
    if (std::memchr(s_ + p + 1, '<', end - p - 1)) return XmlError::kBadSyntax;
    *at = end + 1;
    return XmlError::kNone;
  }

  XmlError EndTag() {
    size_t p = pos_ + 2;
    const size_t name_begin = p;
    while (p < n_ && !IsNameEnd(s_[p]))
      ++p;
    const std::string_view name(s_ + name_begin, p - name_begin);
    while (p < n_ && IsSpace(s_[p]))
      ++p;
    if (p >= n_) return XmlError::kTruncated;
    if (s_[p] != '>') return XmlError::kBadSyntax;
    if (AtTopLevel()) return XmlError::kMismatchedTag;
    const Node& open = nodes_[stack_.back().node];
    if (name != std::string_view(s_ + open.begin, open.length())) return XmlError::kMismatchedTag;
    stack_.pop_back();
    text_node_ = 0;
    pos_ = p + 1;
    return XmlError::kNone;
  }

  char* s_;
  size_t n_;
  size_t pos_ = 0;
  NodeStore& nodes_;
  std::vector<Open> stack_;
  XmlNodeId text_node_ = 0;  // the text node that character data is appended to, if any
  bool root_seen_ = false;
};

XmlError XmlDocument::Parse(std::string text) {
  text_ = std::move(text);
  nodes_.Clear();
  XmlError error;
  try {
    error = Parser(text_, nodes_).Run();
  } catch (const std::bad_alloc&) {
    error = XmlError::kNoMemory;
  }
  if (error != XmlError::kNone) {
    text_.clear();
    nodes_.Clear();
  }
  return error;
}

XmlNodeId XmlDocument::NodeStore::Add(const Node& node) {
  if ((size_ & (kBlockSize - 1)) == 0)
    blocks_.push_back(std::make_unique_for_overwrite<Node[]>(kBlockSize));
  const XmlNodeId id = static_cast<XmlNodeId>(size_++);
  (*this)[id] = node;
  return id;
}

}  // namespace qbrk
