#include "protocol/publishing.h"

#include "protocol/http_date.h"
#include "protocol/operation_guard.h"
#include "protocol/result_mapping.h"
#include "protocol/service.h"

namespace qbrk {

namespace {

// Sends one command. With `answer`, the body of a `success` answer is read into it and
// `*answered` set.
ResultCode Command(ServerSession& session, const std::string& body, uint32_t success,
                   ResultCode own, std::string* answer = nullptr, bool* answered = nullptr) {
  std::string servlet;
  if (!session.settings().ReadPubServlet(&servlet) || servlet.empty())
    servlet = kDefaultPublishServlet;
  const std::string_view text = body;
  if (ResultCode r = session.Exchange("POST", servlet, {}, &text, own)) return r;
  ResultCode r = result::kSuccess;
  if (session.last_status() == success) {
    if (answer) {
      r = session.ReadTextBody(answer, own);
      if (answered) *answered = r == result::kSuccess;
    }
  } else {
    r = OrOwn(session.MapStatus(), own);
  }
  session.CloseRequest();
  return r;
}

}  // namespace

ResultCode Publish(ServerSession& session, const std::string& path) {
  constexpr ResultCode kOwn = result::kPubtFailed;
  return GuardAllocation(session, kOwn,
                         [&] { return Command(session, "PUBT " + path, 204, kOwn); });
}

ResultCode Unpublish(ServerSession& session, const std::string& path) {
  constexpr ResultCode kOwn = result::kPubfFailed;
  return GuardAllocation(session, kOwn,
                         [&] { return Command(session, "PUBF " + path, 204, kOwn); });
}

ResultCode QueryPublished(ServerSession& session, const std::string& path, bool* published) {
  constexpr ResultCode kOwn = result::kPubqFailed;
  return GuardAllocation(session, kOwn, [&] {
    std::string body;
    bool answered = false;
    const ResultCode r = Command(session, "PUBQ " + path, 200, kOwn, &body, &answered);
    if (answered) *published = ReadPublishedAnswer(body);
    return r;
  });
}

ResultCode QueryPublishedSince(ServerSession& session, const std::string& path,
                               uint64_t* file_time) {
  constexpr ResultCode kOwn = result::kPtimFailed;
  return GuardAllocation(session, kOwn, [&] {
    std::string body;
    bool answered = false;
    const ResultCode r = Command(session, "PTIM " + path, 200, kOwn, &body, &answered);
    if (answered && !ParseHttpDate(body, file_time)) return kOwn;
    return r;
  });
}

ResultCode QueryPublicAddress(ServerSession& session, const std::string& path,
                              std::string* address) {
  constexpr ResultCode kOwn = result::kPurlFailed;
  return GuardAllocation(session, kOwn, [&] {
    std::string body;
    bool answered = false;
    const ResultCode r = Command(session, "PURL " + path, 200, kOwn, &body, &answered);
    if (answered) *address = std::move(body);
    return r;
  });
}

ResultCode SetDisplaySetting(ServerSession& session, const std::string& path,
                             const DisplaySetting& setting) {
  constexpr ResultCode kOwn = result::kPsdsFailed;
  return GuardAllocation(session, kOwn, [&] {
    return Command(session, DisplaySettingBody(path, setting), 204, kOwn);
  });
}

ResultCode QueryDisplaySetting(ServerSession& session, const std::string& path,
                               DisplaySetting* setting) {
  constexpr ResultCode kOwn = result::kPgdsFailed;
  return GuardAllocation(session, kOwn, [&] {
    std::string body;
    bool answered = false;
    const ResultCode r = Command(session, "PGDS " + path, 200, kOwn, &body, &answered);
    if (answered) {
      DisplaySetting read;
      if (!ReadDisplaySetting(body, &read)) return kOwn;
      *setting = std::move(read);
    }
    return r;
  });
}

}  // namespace qbrk
