#include "state_file.h"

#include <sys/stat.h>

#include <pugixml.hpp>

#include <cstdio>

namespace qbrk::emulator {

bool LoadStateFile(const std::string& file, pugi::xml_document* doc, std::string* warning) {
  struct stat st {};
  if (::stat(file.c_str(), &st) != 0) return false;
  if (!doc->load_file(file.c_str())) {
    doc->reset();
    SetStateFileAside(file, warning);
    return false;
  }
  return true;
}

void SetStateFileAside(const std::string& file, std::string* warning) {
  std::rename(file.c_str(), (file + ".bad").c_str());
  *warning = "could not read " + file + "; kept as " + file + ".bad, starting empty";
}

bool SaveStateFile(const pugi::xml_document& doc, const std::string& file) {
  const std::string temp = file + ".new";
  if (!doc.save_file(temp.c_str(), "  ")) return false;
  return std::rename(temp.c_str(), file.c_str()) == 0;
}

}  // namespace qbrk::emulator
