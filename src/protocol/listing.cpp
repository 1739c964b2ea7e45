#include "protocol/listing.h"

#include "protocol/operation_guard.h"
#include "protocol/result_mapping.h"

namespace qbrk {

namespace {
constexpr std::string_view kListingBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
    "<propfind xmlns=\"DAV:\"><prop><getcontentlength/><getlastmodified/></prop></propfind>";
}  // namespace

ResultCode ListFolder(ServerSession& session, const std::string& path, const Listing** listing) {
  *listing = nullptr;
  auto& kept = session.listings();
  if (auto found = kept.find(path); found != kept.end()) {
    *listing = &found->second;
    return result::kSuccess;
  }
  if (session.IsCancelled()) return result::kCancelled;
  return GuardAllocation(session, result::kNoMemory, [&]() -> ResultCode {
    constexpr ResultCode kOwn = result::kListingFailed;
    if (ResultCode r = session.Exchange("PROPFIND", path, {{"Depth: 1\r\n"}}, &kListingBody, kOwn))
      return r;
    if (session.last_status() != 207) {
      const ResultCode r = OrOwn(session.MapStatus(), kOwn);
      session.CloseRequest();
      return r;
    }
    if (session.IsCancelled()) {
      session.CloseRequest();
      return result::kCancelled;
    }
    XmlDocument doc;
    const ResultCode r = session.ReadXmlBody(&doc, kOwn);
    session.CloseRequest();
    if (r != result::kSuccess) return r;
    Listing items;
    ReadListing(doc, path, &items);
    if (items.empty()) return result::kSuccess;
    auto stored = kept.emplace(path, std::move(items)).first;
    *listing = &stored->second;
    return result::kSuccess;
  });
}

}  // namespace qbrk
