#include "protocol/file_ops.h"

#include <vector>

#include "protocol/decimal.h"
#include "protocol/http_date.h"
#include "protocol/listing_parser.h"
#include "protocol/lock_rounds.h"
#include "protocol/locks.h"
#include "protocol/operation_guard.h"
#include "protocol/result_mapping.h"
#include "protocol/worker_messages.h"
#include "protocol/xml/xml_match.h"

namespace qbrk {

namespace {

constexpr std::string_view kEmptyFolderBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
    "<propfind xmlns=\"DAV:\"><prop><getlastmodified/></prop></propfind>";

// The members of a folder listing by name, the folder itself left out.
std::vector<std::string> MemberNames(const XmlDocument& doc, std::string_view folder) {
  std::vector<std::string> names;
  for (XmlNodeId response = doc.FirstChild(doc.FirstElement()); response != kNoXmlNode;
       response = doc.NextSibling(response)) {
    if (!doc.IsElement(response) || doc.Name(response).find("response") == std::string_view::npos)
      continue;
    const std::string_view href = ElementText(doc, FindChildElement(doc, response, "href"));
    const std::string_view name = LastSegment(href);
    // An empty name would make the member's path the folder's own.
    if (href == folder || name.empty()) continue;
    names.emplace_back(name);
  }
  return names;
}

}  // namespace

ResultCode FileStatus(ServerSession& session, const std::string& path, FindData* item) {
  // The one operation without a code of its own: its failures are 500.
  return GuardAllocation(session, result::kGeneralFailure, [&] {
    item->name = std::string(LastSegment(path));
    item->attributes = file_attr::kNormal;
    ResultCode r = session.Exchange("HEAD", path, {}, nullptr, result::kGeneralFailure);
    if (r == result::kSuccess) {
      if (session.last_status() == 200) {
        std::string length, modified;
        if (!session.ReadResponseHeader("Content-Length", &length) ||
            !session.ReadResponseHeader("X-Last-Modified", &modified) ||
            !ParseHttpDate(modified, &item->last_write_time)) {
          r = result::kGeneralFailure;
        } else {
          item->size = LeadingDecimal(length);
        }
      } else {
        r = session.MapStatus();
      }
      session.CloseRequest();
    }
    return r == result::kTimeout ? result::kConnectionBroken : r;
  });
}

ResultCode QuerySize(ServerSession& session, const std::string& path, uint64_t* size) {
  constexpr ResultCode kOwn = result::kSizeFailed;
  return GuardAllocation(session, kOwn, [&] {
    ResultCode r = session.Exchange("HEAD", path, {}, nullptr, kOwn);
    if (r != result::kSuccess) return r;
    if (session.last_status() == 200) {
      std::string length;
      if (session.ReadResponseHeader("Content-Length", &length)) {
        *size = LeadingDecimal(length);
      } else {
        r = kOwn;
      }
    } else {
      r = OrOwn(session.MapStatus(), kOwn);
    }
    session.CloseRequest();
    return r;
  });
}

ResultCode SetLastModified(ServerSession& session, uint64_t file_time, const std::string& path) {
  constexpr ResultCode kOwn = result::kSetTimeFailed;
  return GuardAllocation(session, kOwn, [&] {
    std::string date;
    if (!FormatHttpDate(file_time, &date)) return kOwn;
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
        "<D:propertyupdate xmlns:D=\"DAV:\"><D:set><D:prop><D:getlastmodified>" +
        date + "</D:getlastmodified></D:prop></D:set></D:propertyupdate>";
    const std::string_view body = text;
    for (int round = 1;; ++round) {
      if (ResultCode r = session.Exchange("PROPPATCH", path, {}, &body, kOwn)) return r;
      session.CloseRequest();
      if (session.last_status() != 423) return OrOwn(session.MapStatus(), kOwn);
      const ResultCode released = ReleaseOwnLock(session, path);
      if (released != result::kSuccess) return OrOwn(released, kOwn);
      if (round >= kMaxLockRounds) return result::kLockedByOther;
      if (session.IsCancelled()) return result::kCancelled;
    }
  });
}

ResultCode MakeFolder(ServerSession& session, const std::string& path) {
  constexpr ResultCode kOwn = result::kMkcolFailed;
  return GuardAllocation(session, kOwn, [&] {
    if (ResultCode r = session.Exchange("MKCOL", path, {}, nullptr, kOwn)) return r;
    session.CloseRequest();
    return OrOwn(session.MapStatus(), kOwn);
  });
}

ResultCode DeleteResource(ServerSession& session, const std::string& path) {
  constexpr ResultCode kOwn = result::kDeleteFailed;
  return GuardAllocation(session, kOwn, [&] {
    for (int round = 1;; ++round) {
      if (ResultCode r = session.Exchange("DELETE", path, {}, nullptr, kOwn)) return r;
      session.CloseRequest();
      if (session.last_status() != 423) return OrOwn(session.MapStatus(), kOwn);
      const ResultCode released = ReleaseOwnLocksOnDisk(session, session.disk_root());
      if (released != result::kSuccess) return OrOwn(released, kOwn);
      if (round >= kMaxLockRounds) return result::kLockedByOther;
      if (session.IsCancelled()) return result::kCancelled;
    }
  });
}

ResultCode EmptyFolder(ServerSession& session, const std::string& path) {
  constexpr ResultCode kOwn = result::kEmptyFolderFailed;
  return GuardAllocation(session, kOwn, [&] {
    session.Notify(worker_message::kStatus, status_index::kCollecting);
    if (ResultCode r =
            session.Exchange("PROPFIND", path, {{"Depth: 1\r\n"}}, &kEmptyFolderBody, kOwn))
      return r;
    if (session.last_status() != 207) {
      session.CloseRequest();
      return OrOwn(session.MapStatus(), kOwn);
    }
    XmlDocument doc;
    const ResultCode r = session.ReadXmlBody(&doc, kOwn);
    session.CloseRequest();
    if (r != result::kSuccess) return r;
    for (const std::string& name : MemberNames(doc, path)) {
      if (ResultCode deleted = DeleteResource(session, path + name)) return deleted;
      if (session.IsCancelled()) return result::kCancelled;
    }
    return result::kSuccess;
  });
}

}  // namespace qbrk
