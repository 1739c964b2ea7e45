#include "property_store.h"

#include <pugixml.hpp>

#include "core/disk_path.h"
#include "core/percent_encoding.h"
#include "state_file.h"

namespace qbrk::emulator {

namespace {

std::string Escaped(std::string_view bytes) {
  return PercentEncode(bytes, "/@");
}

}  // namespace

void PropertyStore::Load(const std::string& file, std::string* warning) {
  file_ = file;
  properties_.clear();
  pugi::xml_document doc;
  if (!LoadStateFile(file, &doc, warning)) return;
  bool ok = true;
  std::map<Key, std::vector<DeadProperty>> loaded;
  pugi::xml_node root = doc.child("properties");
  ok = ok && root;
  for (pugi::xml_node resource : root.children("resource")) {
    const auto user = PercentDecode(resource.attribute("user").value());
    const auto rel = PercentDecode(resource.attribute("path").value());
    if (!user || !rel) {
      ok = false;
      break;
    }
    std::vector<DeadProperty>& list = loaded[{*user, *rel}];
    for (pugi::xml_node p : resource.children("property")) {
      list.push_back({{p.attribute("ns").value(), p.attribute("name").value()}, p.text().get()});
    }
  }
  if (!ok) {
    SetStateFileAside(file, warning);
    return;
  }
  properties_ = std::move(loaded);
}

bool PropertyStore::Save() const {
  if (file_.empty()) return true;
  pugi::xml_document doc;
  pugi::xml_node root = doc.append_child("properties");
  for (const auto& [key, list] : properties_) {
    pugi::xml_node resource = root.append_child("resource");
    resource.append_attribute("user") = Escaped(key.first).c_str();
    resource.append_attribute("path") = Escaped(key.second).c_str();
    for (const DeadProperty& p : list) {
      pugi::xml_node node = resource.append_child("property");
      node.append_attribute("ns") = p.name.ns.c_str();
      node.append_attribute("name") = p.name.local.c_str();
      node.text().set(p.value_xml.c_str());
    }
  }
  return SaveStateFile(doc, file_);
}

std::vector<DeadProperty> PropertyStore::Get(std::string_view user, std::string_view rel) const {
  const auto it = properties_.find({std::string(user), std::string(rel)});
  return it == properties_.end() ? std::vector<DeadProperty>() : it->second;
}

void PropertyStore::Put(std::string_view user, std::string_view rel,
                        std::vector<DeadProperty> properties) {
  Key key{std::string(user), std::string(rel)};
  if (properties.empty()) {
    properties_.erase(key);
  } else {
    properties_[key] = std::move(properties);
  }
}

bool PropertyStore::RemoveInside(std::string_view user, std::string_view rel) {
  return std::erase_if(properties_, [&](const auto& entry) {
           return entry.first.first == user && IsWithin(entry.first.second, rel);
         }) > 0;
}

bool PropertyStore::CopyInside(std::string_view user, std::string_view from, std::string_view to) {
  std::vector<std::pair<Key, std::vector<DeadProperty>>> copies;
  for (const auto& [key, list] : properties_) {
    if (key.first == user && IsWithin(key.second, from)) {
      copies.push_back({{key.first, std::string(to) + key.second.substr(from.size())}, list});
    }
  }
  for (auto& [key, list] : copies)
    properties_[key] = std::move(list);
  return !copies.empty();
}

bool PropertyStore::MoveInside(std::string_view user, std::string_view from, std::string_view to) {
  const bool copied = CopyInside(user, from, to);
  std::erase_if(properties_, [&](const auto& entry) {
    return entry.first.first == user && IsWithin(entry.first.second, from) &&
           !IsWithin(entry.first.second, to);
  });
  return copied;
}

}  // namespace qbrk::emulator
