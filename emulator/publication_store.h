// Published folders and each account's display setting, kept in one XML file of the data
// folder so that they survive a restart. Paths and names are stored percent-escaped, which
// keeps the file readable whatever bytes the names hold.
#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace qbrk::emulator {

struct Publication {
  std::string user;
  std::string rel;    // the published folder below the disk root
  std::string token;  // the unguessable part of the public address
  time_t since = 0;
};

struct DisplaySetting {
  bool custom = false;  // false: the account's mail address is shown
  std::string name;
};

class PublicationStore {
 public:
  // A missing file is an empty store. A file that cannot be read is kept aside as
  // "<file>.bad" and the store starts empty; *warning says so.
  void Load(const std::string& file, std::string* warning);
  // Writes the whole store through a temporary file; false on failure.
  bool Save() const;

  const Publication* FindByToken(std::string_view token) const;
  const Publication* FindByPath(std::string_view user, std::string_view rel) const;
  // The publication of rel or of its nearest published ancestor.
  const Publication* Nearest(std::string_view user, std::string_view rel) const;

  // Publishes rel anew; an earlier address of the same folder stops working.
  void Publish(Publication publication);
  bool Unpublish(std::string_view user, std::string_view rel);
  // The folders at or below rel are gone, or moved to another place.
  // Both return whether anything changed.
  bool RemoveInside(std::string_view user, std::string_view rel);
  bool MoveInside(std::string_view user, std::string_view from, std::string_view to);

  DisplaySetting Display(std::string_view user) const;
  void SetDisplay(std::string_view user, DisplaySetting setting);

 private:
  struct AccountDisplay {
    std::string user;
    DisplaySetting setting;
  };

  std::string file_;
  std::vector<Publication> publications_;
  std::vector<AccountDisplay> displays_;
};

}  // namespace qbrk::emulator
