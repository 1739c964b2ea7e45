// Compiled with code page 932 as the execution character set: the page's own words are
// served as Shift_JIS.
#include "folder_page.h"

#include "http_date.h"
#include "percent_encoding.h"
#include "xml_text.h"

namespace qbrk::emulator {

namespace {

std::string Html(std::string_view bytes) {
  return XmlSafeText(bytes, Charset::kShiftJis);
}

}  // namespace

std::string FolderPageHtml(std::string_view title, std::string_view publisher, bool parent_link,
                           const std::vector<FolderPageEntry>& entries) {
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"ja\"><head><meta charset=\"Shift_JIS\"><title>" + Html(title) +
      "</title></head>\n<body>\n<h1>" + Html(title) + "</h1>\n";
  if (!publisher.empty()) html += "<p>公開者: " + Html(publisher) + "</p>\n";
  html += "<table>\n<tr><th>名前</th><th>サイズ</th><th>更新日時</th></tr>\n";
  if (parent_link) html += "<tr><td><a href=\"../\">../</a></td></tr>\n";
  for (const FolderPageEntry& entry : entries) {
    const std::string suffix = entry.folder ? "/" : "";
    html += "<tr><td><a href=\"" + PercentEncode(entry.name, "") + suffix + "\">" +
            Html(entry.name) + suffix + "</a></td><td>" +
            (entry.size ? std::to_string(*entry.size) : std::string()) + "</td><td>" +
            FormatHttpDate(entry.modified) + "</td></tr>\n";
  }
  return html + "</table>\n</body></html>\n";
}

}  // namespace qbrk::emulator
