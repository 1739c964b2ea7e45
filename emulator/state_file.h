// The XML files the emulator keeps its own state in, under the data folder.
#pragma once

#include <string>

namespace pugi {
class xml_document;
}

namespace qbrk::emulator {

// Loads file into doc. False with nothing loaded when the file does not exist.
// When it exists but cannot be parsed, it is renamed to "<file>.bad", *warning says so
// and doc stays empty.
bool LoadStateFile(const std::string& file, pugi::xml_document* doc, std::string* warning);

// Sets a file that was parsed but made no sense aside, as LoadStateFile does.
void SetStateFileAside(const std::string& file, std::string* warning);

// Writes through a temporary file and a rename, so that a crash leaves the old file.
bool SaveStateFile(const pugi::xml_document& doc, const std::string& file);

}  // namespace qbrk::emulator
