#include "protocol/publishing_answers.h"

namespace qbrk {

bool ReadPublishedAnswer(std::string_view body) {
  return body.find("true") != std::string_view::npos;
}

bool ReadDisplaySetting(std::string_view body, DisplaySetting* setting) {
  if (body.substr(0, 4) == "mail") {
    setting->mode = DisplayMode::kMail;
  } else if (body.substr(0, 6) == "custom") {
    setting->mode = DisplayMode::kCustom;
  } else {
    return false;
  }
  const size_t line_feed = body.rfind('\n');
  setting->name =
      line_feed == std::string_view::npos ? std::string() : std::string(body.substr(line_feed + 1));
  return true;
}

std::string DisplaySettingBody(std::string_view path, const DisplaySetting& setting) {
  std::string body = "PSDS ";
  body += path;
  if (setting.mode == DisplayMode::kCustom) {
    body += "\r\ncustom\r\n";
    body += setting.name;
  } else {
    body += "\r\nmail";
  }
  return body;
}

void AppendBodyPiece(std::string_view piece, std::string* text) {
  const size_t nul = piece.find('\0');
  text->append(piece.substr(0, nul));
}

}  // namespace qbrk
