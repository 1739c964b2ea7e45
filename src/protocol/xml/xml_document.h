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
// The tree is built for large listings: small nodes in blocks, and names and texts are
// views into the document's own bytes (entities are resolved in place, which only ever
// shortens text). White space between elements is not kept: no reader of the library looks
// at it, and in an indented listing it would be every second node; white space that is an
// element's whole content is kept. Parsing never recurses, so nesting depth costs only a
// small stack entry. Hostile input yields an error, never a crash.
#pragma once

#include <cstdint>
#include <memory>
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
  kTooLarge,       // 2 GB or more
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
    return FirstElementFrom(nodes_.size() > 0 ? nodes_[0].first_child : 0);
  }
  XmlNodeId FirstChild(XmlNodeId node) const { return Valid(node) ? nodes_[node].first_child : 0; }
  XmlNodeId NextSibling(XmlNodeId node) const {
    return Valid(node) ? nodes_[node].next_sibling : 0;
  }
  bool IsElement(XmlNodeId node) const { return Valid(node) && nodes_[node].is_element(); }
  bool IsText(XmlNodeId node) const { return Valid(node) && !nodes_[node].is_element(); }
  // The full name of an element; "" for other nodes.
  std::string_view Name(XmlNodeId node) const { return IsElement(node) ? View(node) : ""; }
  // The text of a text node; "" for other nodes.
  std::string_view Text(XmlNodeId node) const { return IsText(node) ? View(node) : ""; }

  // Nodes in the tree, the document node included.
  size_t node_count() const { return nodes_.size(); }

 private:
  // 16 bytes: the top bit of the length word marks an element (documents stay below 2 GB).
  struct Node {
    static constexpr uint32_t kElementBit = 0x80000000u;
    uint32_t begin;
    uint32_t length_and_kind;
    XmlNodeId first_child;
    XmlNodeId next_sibling;
    bool is_element() const { return (length_and_kind & kElementBit) != 0; }
    uint32_t length() const { return length_and_kind & ~kElementBit; }
  };

  // Nodes in blocks of a fixed size: growing never copies the nodes already made and wastes
  // at most one block, which keeps the peak of large listings low.
  class NodeStore {
   public:
    static constexpr uint32_t kBlockBits = 12;  // 64 KB: small answers stay cheap
    static constexpr uint32_t kBlockSize = 1u << kBlockBits;
    Node& operator[](XmlNodeId id) { return blocks_[id >> kBlockBits][id & (kBlockSize - 1)]; }
    const Node& operator[](XmlNodeId id) const {
      return blocks_[id >> kBlockBits][id & (kBlockSize - 1)];
    }
    size_t size() const { return size_; }
    // The new node's number.
    XmlNodeId Add(const Node& node);
    void Clear() {
      blocks_.clear();
      size_ = 0;
    }

   private:
    std::vector<std::unique_ptr<Node[]>> blocks_;
    size_t size_ = 0;
  };
  class Parser;

  bool Valid(XmlNodeId node) const { return node != 0 && node < nodes_.size(); }
  std::string_view View(XmlNodeId node) const {
    return std::string_view(text_).substr(nodes_[node].begin, nodes_[node].length());
  }
  XmlNodeId FirstElementFrom(XmlNodeId node) const {
    while (node != 0 && !IsElement(node))
      node = nodes_[node].next_sibling;
    return node;
  }

  std::string text_;
  NodeStore nodes_;
};

}  // namespace qbrk
