// Properties that clients set on resources beyond the ones the service computes ("dead"
// properties), kept in one XML file of the data folder. The client never sets any; other
// WebDAV clients do.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dav_xml.h"

namespace qbrk::emulator {

struct DeadProperty {
  QName name;
  std::string value_xml;  // the element's content, ready to be written
};

class PropertyStore {
 public:
  // As PublicationStore::Load: a file that cannot be read is kept aside as "<file>.bad".
  void Load(const std::string& file, std::string* warning);
  bool Save() const;

  std::vector<DeadProperty> Get(std::string_view user, std::string_view rel) const;
  // Replaces the whole set of a resource (an empty set removes it).
  void Put(std::string_view user, std::string_view rel, std::vector<DeadProperty> properties);

  // Resources at or below rel are deleted, copied or moved. Each returns whether anything
  // changed.
  bool RemoveInside(std::string_view user, std::string_view rel);
  bool CopyInside(std::string_view user, std::string_view from, std::string_view to);
  bool MoveInside(std::string_view user, std::string_view from, std::string_view to);

 private:
  using Key = std::pair<std::string, std::string>;  // user, rel
  std::string file_;
  std::map<Key, std::vector<DeadProperty>> properties_;
};

}  // namespace qbrk::emulator
