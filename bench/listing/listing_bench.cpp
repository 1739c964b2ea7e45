// Parses the listing of one folder of 100,000 files (about 60 MB of multistatus, written the
// way a WebDAV server writes it) with the library's XML reader and listing walk, and the same
// bytes with pugixml's DOM parser, in one run. Prints:
//   BENCH listing ratio=<ours/peer> ours=...ms peer=...ms limit=1000ms mem=...MB (x.x× response)
// Time is the best of several rounds; memory is the peak resident growth while our parse and
// walk run, the copy of the response they work on included.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <pugixml.hpp>

#include "protocol/listing_parser.h"
#include "protocol/xml/xml_document.h"

namespace {

constexpr int kFiles = 100000;
constexpr int kRounds = 5;
constexpr char kFolder[] = "/~taro@example.jp/file/photos/";

std::string Response(const std::string& href, bool folder, int i) {
  std::string r = "<D:response xmlns:lp1=\"DAV:\" xmlns:lp2=\"http://apache.org/dav/props/\">\n";
  r += "<D:href>" + href + "</D:href>\n<D:propstat>\n<D:prop>\n";
  r += folder ? "<lp1:resourcetype><D:collection/></lp1:resourcetype>\n" : "<lp1:resourcetype/>\n";
  r += "<lp1:creationdate>2002-03-05T09:07:03Z</lp1:creationdate>\n";
  if (!folder)
    r += "<lp1:getcontentlength>" + std::to_string(1000 + i * 37) + "</lp1:getcontentlength>\n";
  r += "<lp1:getlastmodified>Tue, 05 Mar 2002 09:07:03 GMT</lp1:getlastmodified>\n";
  char etag[64];
  std::snprintf(etag, sizeof etag, "\"%x-%x-3a8f2b4c\"", 0x1a2b3c + i, 1000 + i * 37);
  r += "<lp1:getetag>" + std::string(etag) + "</lp1:getetag>\n";
  r += "<lp2:executable>F</lp2:executable>\n<D:supportedlock>\n<D:lockentry>\n"
       "<D:lockscope><D:exclusive/></D:lockscope>\n<D:locktype><D:write/></D:locktype>\n"
       "</D:lockentry>\n</D:supportedlock>\n<D:lockdiscovery/>\n";
  if (!folder) r += "<D:getcontenttype>image/jpeg</D:getcontenttype>\n";
  r += "</D:prop>\n<D:status>HTTP/1.1 200 OK</D:status>\n</D:propstat>\n</D:response>\n";
  return r;
}

std::string Multistatus() {
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">\n";
  xml.reserve(64u << 20);
  xml += Response(kFolder, true, 0);
  for (int i = 0; i < kFiles; ++i) {
    char name[64];
    std::snprintf(name, sizeof name, "2002-%02d/img_%06d.jpg", i % 12 + 1, i);
    xml += Response(std::string(kFolder) + name, false, i);
  }
  xml += "</D:multistatus>\n";
  return xml;
}

// A field of /proc/self/status, in kB.
long StatusKb(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const std::string prefix = std::string(field) + ":";
  while (std::getline(status, line))
    if (line.rfind(prefix, 0) == 0) return std::atol(line.c_str() + prefix.size());
  return -1;
}

// Resets the peak resident size to the current one.
void ResetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

double Ms(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

}  // namespace

int main() {
  const std::string xml = Multistatus();
  const double response_mb = xml.size() / 1048576.0;

  // Ours, memory: one round from a fresh copy of the response.
  ResetPeak();
  const long base_kb = StatusKb("VmRSS");
  size_t items_found = 0;
  {
    qbrk::XmlDocument doc;
    if (doc.Parse(std::string(xml)) != qbrk::XmlError::kNone) {
      std::fprintf(stderr, "our reader refused the listing\n");
      return 1;
    }
    qbrk::Listing items;
    qbrk::ReadListing(doc, kFolder, &items);
    items_found = items.size();
  }
  const double ours_mb = (StatusKb("VmHWM") - base_kb) / 1024.0;
  if (items_found != static_cast<size_t>(kFiles)) {
    std::fprintf(stderr, "listed %zu of %d files\n", items_found, kFiles);
    return 1;
  }

  double ours = 1e18, peer = 1e18;
  for (int round = 0; round < kRounds; ++round) {
    std::string copy = xml;
    const auto start = std::chrono::steady_clock::now();
    qbrk::XmlDocument doc;
    doc.Parse(std::move(copy));
    qbrk::Listing items;
    qbrk::ReadListing(doc, kFolder, &items);
    ours = std::min(ours, Ms(std::chrono::steady_clock::now() - start));

    const auto peer_start = std::chrono::steady_clock::now();
    pugi::xml_document dom;
    if (!dom.load_buffer(xml.data(), xml.size())) {
      std::fprintf(stderr, "pugixml refused the listing\n");
      return 1;
    }
    peer = std::min(peer, Ms(std::chrono::steady_clock::now() - peer_start));
  }

  std::printf("listing: %d files, %.1f MB of XML, best of %d rounds\n", kFiles, response_mb,
              kRounds);
  std::printf(
      "BENCH listing ratio=%.2f ours=%.0fms peer=%.0fms limit=1000ms mem=%.0fMB (%.1f× response)\n",
      ours / peer, ours, peer, ours_mb, ours_mb / response_mb);
  return ours < 1000 && ours_mb < 3 * response_mb ? 0 : 1;
}
