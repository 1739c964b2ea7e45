#include "http_message.h"

#include "core/refusal.h"

namespace qbrk::emulator {

uint64_t Response::BodyLength() const {
  if (const auto* text = std::get_if<std::string>(&body)) return text->size();
  return std::get<FileBody>(body).length;
}

Response TextResponse(int status, std::string text) {
  Response r;
  r.status = status;
  if (!text.empty() && text.back() != '\n') text += '\n';
  r.headers.Add("Content-Type", kPlainTextType);
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
