// The XML reader on arbitrary bytes: never crashes, and a parsed tree is finite and acyclic.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "protocol/xml/xml_document.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qbrk::XmlDocument doc;
  if (doc.Parse(std::string(reinterpret_cast<const char*>(data), size)) != qbrk::XmlError::kNone)
    return 0;
  // Walk every node without recursion; more visits than nodes would mean a cycle.
  size_t visited = 0;
  std::vector<qbrk::XmlNodeId> pending{doc.FirstElement()};
  while (!pending.empty()) {
    qbrk::XmlNodeId node = pending.back();
    pending.pop_back();
    for (; node != qbrk::kNoXmlNode; node = doc.NextSibling(node)) {
      if (++visited >= doc.node_count()) __builtin_trap();
      if (doc.Name(node).size() + doc.Text(node).size() > size) __builtin_trap();
      pending.push_back(doc.FirstChild(node));
    }
  }
  return 0;
}
