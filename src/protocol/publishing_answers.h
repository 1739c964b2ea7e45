// Reading the publishing servlet's answers (plain text bodies).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qbrk {

// The name shown on a public page: the user's mail address, or a name of their own.
enum class DisplayMode : uint32_t { kMail = 0, kCustom = 1 };
struct DisplaySetting {
  DisplayMode mode = DisplayMode::kMail;
  std::string name;
};

// PUBQ: published when "true" occurs anywhere in the body.
bool ReadPublishedAnswer(std::string_view body);

// PGDS: the mode from the body's beginning ("mail" or "custom"), the name after the body's
// last line feed ("" without one). False for any other beginning.
bool ReadDisplaySetting(std::string_view body, DisplaySetting* setting);

// The PSDS body: "PSDS " + path + "\r\nmail", or + "\r\ncustom\r\n" + name.
std::string DisplaySettingBody(std::string_view path, const DisplaySetting& setting);

// Appends a piece of a servlet body to `text` the way text is joined: up to the piece's first
// NUL byte.
void AppendBodyPiece(std::string_view piece, std::string* text);

}  // namespace qbrk
