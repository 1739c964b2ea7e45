// The state of the test user that the library keeps between runs: the settings key, the
// default mirror folder in My Documents and the table file in the data folder. Tests that
// reach them through the real DLL start and end with it cleared.
#pragma once

#include <windows.h>

#include <string>

namespace qbrk::test {

inline constexpr char kSettingsKeyPath[] = "SOFTWARE\\Halvorn\\Quellanbrook\\1.0";

// Deletes the settings key, the (empty) default mirror folder and the table file.
void ClearUserState();

// The table file the library keeps in the data folder.
std::string TableFile();

// My Documents of the test's profile, and the default mirror folder in it.
std::string Documents();
inline std::string DefaultMirror() {
  return Documents() + "\\My Quellanbrook";
}

// "Mirror" as stored, or "<none>".
std::string StoredMirror();
// Write one value of the settings key, creating it. False when it could not be written.
bool SetSettingDword(const char* name, DWORD value);
bool SetSettingString(const char* name, const std::string& value);

// Removes an empty folder whatever its attributes.
void RemoveFolder(const std::string& path);
bool Exists(const std::string& path);

}  // namespace qbrk::test
