#include "http_message.h"

#include <algorithm>

namespace qbrk::emulator {

namespace {

char LowerAscii(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

bool ContainsIgnoringAsciiCase(std::string_view text, std::string_view part) {
  if (part.size() > text.size()) return false;
  for (size_t i = 0; i + part.size() <= text.size(); ++i) {
    if (EqualsIgnoringAsciiCase(text.substr(i, part.size()), part)) return true;
  }
  return false;
}

void Headers::Add(std::string name, std::string value) {
  fields_.emplace_back(std::move(name), std::move(value));
}

void Headers::Set(std::string name, std::string value) {
  Remove(name);
  Add(std::move(name), std::move(value));
}

void Headers::Remove(std::string_view name) {
  std::erase_if(fields_, [&](const Field& f) { return EqualsIgnoringAsciiCase(f.first, name); });
}

std::optional<std::string_view> Headers::Get(std::string_view name) const {
  for (const Field& f : fields_) {
    if (EqualsIgnoringAsciiCase(f.first, name)) return std::string_view(f.second);
  }
  return std::nullopt;
}

uint64_t Response::BodyLength() const {
  if (const auto* text = std::get_if<std::string>(&body)) return text->size();
  return std::get<FileBody>(body).length;
}

Response TextResponse(int status, std::string text) {
  Response r;
  r.status = status;
  if (!text.empty() && text.back() != '\n') text += '\n';
  r.headers.Add("Content-Type", "text/plain; charset=Shift_JIS");
  r.body = std::move(text);
  return r;
}

Response XmlResponse(int status, std::string xml, std::string_view charset) {
  Response r;
  r.status = status;
  r.headers.Add("Content-Type", "application/xml; charset=\"" + std::string(charset) + "\"");
  r.body = std::move(xml);
  return r;
}

}  // namespace qbrk::emulator
