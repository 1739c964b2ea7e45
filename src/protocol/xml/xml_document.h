// The XML reader for every response body of the server.
//
// It parses a whole document into a tree of element and text nodes. Elements keep their
// full names, namespace prefix included ("D:href"); attributes are checked for form and then
// dropped, since nothing the library reads lives in them. Text nodes hold their text with
// the five predefined entities (and character references below 0x80) resolved and CDATA
// sections taken as text; character data that only comments or processing instructions
// interrupt forms one text node. The declaration, comments, processing instructions and a
// DOCTYPE are skipped.
//
// The tree is built for large listings: one flat array of small nodes, and names and texts
// are views into the document's own bytes (entities are resolved in place, which only ever
// shortens text). Parsing never recurses, so nesting depth costs only a small stack entry.
// Hostile input yields an error, never a crash.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbrk {

enum class XmlError {
  kNone,
  kNoElement,      // no root element
  kTruncated,      // the document ends inside markup or with elements still open
  kMismatchedTag,  // an end tag that does not close the open element
  kBadEntity,      // an unknown or malformed entity or character reference
  kBadCharacter,   // a NUL byte
  kBadSyntax,      // malformed markup, text outside the root element, a second root...
  kTooLarge,       // 4 GB or more
  kNoMemory,
};

// Nodes are numbered; 0 is "no node" (the document node itself is never handed out).
using XmlNodeId = uint32_t;
inline constexpr XmlNodeId kNoXmlNode = 0;

class XmlDocument {
 public:
  // Parses `text`, which the document keeps. On failure the document is empty.
  XmlError Parse(std::string text);

  XmlNodeId FirstElement() const {
    return FirstElementFrom(nodes_.empty() ? 0 : nodes_[0].first_child);
  }
  XmlNodeId FirstChild(XmlNodeId node) const { return Valid(node) ? nodes_[node].first_child : 0; }
  XmlNodeId NextSibling(XmlNodeId node) const {
    return Valid(node) ? nodes_[node].next_sibling : 0;
  }
  bool IsElement(XmlNodeId node) const { return Valid(node) && nodes_[node].kind == kElement; }
  bool IsText(XmlNodeId node) const { return Valid(node) && nodes_[node].kind == kText; }
  // The full name of an element; "" for other nodes.
  std::string_view Name(XmlNodeId node) const { return IsElement(node) ? View(node) : ""; }
  // The text of a text node; "" for other nodes.
  std::string_view Text(XmlNodeId node) const { return IsText(node) ? View(node) : ""; }

  // Nodes in the tree, the document node included.
  size_t node_count() const { return nodes_.size(); }
  // Bytes held: the document and the node array.
  size_t memory_bytes() const { return text_.capacity() + nodes_.capacity() * sizeof(Node); }

 private:
  enum Kind : uint8_t { kDocument, kElement, kText };
  struct Node {
    uint32_t begin;
    uint32_t length;
    XmlNodeId first_child;
    XmlNodeId next_sibling;
    Kind kind;
  };
  class Parser;

  bool Valid(XmlNodeId node) const { return node != 0 && node < nodes_.size(); }
  std::string_view View(XmlNodeId node) const {
    return std::string_view(text_).substr(nodes_[node].begin, nodes_[node].length);
  }
  XmlNodeId FirstElementFrom(XmlNodeId node) const {
    while (node != 0 && !IsElement(node))
      node = nodes_[node].next_sibling;
    return node;
  }

  std::string text_;
  std::vector<Node> nodes_;
};

}  // namespace qbrk
