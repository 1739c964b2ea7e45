#include "publication_store.h"

#include <pugixml.hpp>

#include <algorithm>

#include "core/disk_path.h"
#include "core/http_date.h"
#include "core/percent_encoding.h"
#include "state_file.h"

namespace qbrk::emulator {

namespace {

std::string Escaped(std::string_view bytes) {
  return PercentEncode(bytes, "/@");
}

std::optional<std::string> Unescaped(const char* text) {
  return PercentDecode(text);
}

bool IsToken(std::string_view token) {
  if (token.size() < 16) return false;
  for (const char c : token) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  return true;
}

}  // namespace

void PublicationStore::Load(const std::string& file, std::string* warning) {
  file_ = file;
  publications_.clear();
  displays_.clear();
  pugi::xml_document doc;
  if (!LoadStateFile(file, &doc, warning)) return;
  bool ok = true;
  std::vector<Publication> publications;
  std::vector<AccountDisplay> displays;
  pugi::xml_node root = doc.child("publishing");
  ok = ok && root;
  for (pugi::xml_node account : root.children("account")) {
    const auto user = Unescaped(account.attribute("mail").value());
    const auto name = Unescaped(account.attribute("name").value());
    const std::string_view display = account.attribute("display").value();
    if (!user || user->empty() || !name || (display != "mail" && display != "custom")) {
      ok = false;
      break;
    }
    displays.push_back({*user, {display == "custom", *name}});
    for (pugi::xml_node p : account.children("publication")) {
      const auto rel = Unescaped(p.attribute("path").value());
      const std::string token = p.attribute("token").value();
      const auto since = ParseHttpDate(p.attribute("since").value());
      auto checked = rel ? ParseRelativePath(*rel, false) : Refusal{400, ""};
      if (!checked.ok() || checked.value().rel != *rel || !IsToken(token) || !since) {
        ok = false;
        break;
      }
      publications.push_back({*user, *rel, token, *since});
    }
  }
  if (!ok) {
    SetStateFileAside(file, warning);
    return;
  }
  publications_ = std::move(publications);
  displays_ = std::move(displays);
}

bool PublicationStore::Save() const {
  if (file_.empty()) return true;
  pugi::xml_document doc;
  pugi::xml_node root = doc.append_child("publishing");
  std::vector<std::string> users;
  for (const AccountDisplay& d : displays_)
    users.push_back(d.user);
  for (const Publication& p : publications_) {
    if (std::find(users.begin(), users.end(), p.user) == users.end()) users.push_back(p.user);
  }
  for (const std::string& user : users) {
    const DisplaySetting setting = Display(user);
    pugi::xml_node account = root.append_child("account");
    account.append_attribute("mail") = Escaped(user).c_str();
    account.append_attribute("display") = setting.custom ? "custom" : "mail";
    account.append_attribute("name") = Escaped(setting.name).c_str();
    for (const Publication& p : publications_) {
      if (p.user != user) continue;
      pugi::xml_node node = account.append_child("publication");
      node.append_attribute("path") = Escaped(p.rel).c_str();
      node.append_attribute("token") = p.token.c_str();
      node.append_attribute("since") = FormatHttpDate(p.since).c_str();
    }
  }
  return SaveStateFile(doc, file_);
}

const Publication* PublicationStore::FindByToken(std::string_view token) const {
  for (const Publication& p : publications_) {
    if (p.token == token) return &p;
  }
  return nullptr;
}

const Publication* PublicationStore::FindByPath(std::string_view user, std::string_view rel) const {
  for (const Publication& p : publications_) {
    if (p.user == user && p.rel == rel) return &p;
  }
  return nullptr;
}

const Publication* PublicationStore::Nearest(std::string_view user, std::string_view rel) const {
  const Publication* best = nullptr;
  for (const Publication& p : publications_) {
    if (p.user == user && IsWithin(rel, p.rel) && (!best || p.rel.size() > best->rel.size())) {
      best = &p;
    }
  }
  return best;
}

void PublicationStore::Publish(Publication publication) {
  Unpublish(publication.user, publication.rel);
  publications_.push_back(std::move(publication));
}

bool PublicationStore::Unpublish(std::string_view user, std::string_view rel) {
  return std::erase_if(publications_,
                       [&](const Publication& p) { return p.user == user && p.rel == rel; }) > 0;
}

bool PublicationStore::RemoveInside(std::string_view user, std::string_view rel) {
  return std::erase_if(publications_, [&](const Publication& p) {
           return p.user == user && IsWithin(p.rel, rel);
         }) > 0;
}

bool PublicationStore::MoveInside(std::string_view user, std::string_view from,
                                  std::string_view to) {
  bool moved = false;
  for (Publication& p : publications_) {
    if (p.user == user && IsWithin(p.rel, from)) {
      p.rel = std::string(to) + p.rel.substr(from.size());
      moved = true;
    }
  }
  return moved;
}

DisplaySetting PublicationStore::Display(std::string_view user) const {
  for (const AccountDisplay& d : displays_) {
    if (d.user == user) return d.setting;
  }
  return {};
}

void PublicationStore::SetDisplay(std::string_view user, DisplaySetting setting) {
  for (AccountDisplay& d : displays_) {
    if (d.user == user) {
      d.setting = std::move(setting);
      return;
    }
  }
  displays_.push_back({std::string(user), std::move(setting)});
}

}  // namespace qbrk::emulator
