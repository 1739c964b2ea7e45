// Answers too large to hold, from a broken or hostile server: bodies past the bounds on
// what is read whole, and header blocks that no allocation could give. Every operation ends
// with its own code, reads no further than the bound, and leaves no request open and no
// temporary file behind.
#include <functional>

#include "protocol/file_ops.h"
#include "protocol/listing.h"
#include "protocol/locks.h"
#include "protocol/publishing.h"
#include "protocol/quota.h"
#include "protocol/transfer.h"
#include "protocol_test_support.h"

namespace qbrk {
namespace {

using testing::DavResponse;
using testing::FileProps;
using testing::kRoot;
using testing::Multistatus;

constexpr uint64_t kHuge = uint64_t{3} << 30;  // described, never held
constexpr char kListingStart[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">";

// An XML answer that goes on for gigabytes: a listing whose members never end.
ScriptedReply EndlessXml(uint32_t status) {
  ScriptedReply reply;
  reply.status = status;
  reply.body = kListingStart;
  reply.repeated_body = {DavResponse("/r/f", FileProps(1)), kHuge};
  return reply;
}

// A servlet answer that goes on for gigabytes.
ScriptedReply EndlessText(std::string chunk) {
  ScriptedReply reply;
  reply.repeated_body = {std::move(chunk), kHuge};
  return reply;
}

class OversizedAnswerTest : public testing::ProtocolTest {
 protected:
  // The library's temporary files left in the temporary folder (the log file aside).
  size_t SpoolFiles() {
    size_t count = 0;
    for (const std::string& path : files_.List("C:\\TEMP"))
      if (path.find("\\qbk") != std::string::npos) ++count;
    return count;
  }

  struct Case {
    const char* name;
    std::function<void()> script;
    std::function<ResultCode(ServerSession&)> run;
    ResultCode expected;
  };

  // Runs each case on a fresh session; `bound` is the most body the client may read.
  void RunAll(const std::vector<Case>& cases, uint64_t bound) {
    for (const Case& c : cases) {
      SCOPED_TRACE(c.name);
      ServerSession& session = Session(SessionOptions{4, false, 0});
      c.script();
      const uint64_t read_before = http_.body_bytes_read();
      EXPECT_EQ(c.run(session), c.expected);
      EXPECT_LE(http_.body_bytes_read() - read_before, bound);
      EXPECT_EQ(http_.pending_replies(), 0u);
      EXPECT_EQ(http_.open_requests(), 0u);
      EXPECT_EQ(SpoolFiles(), 0u);
      EXPECT_TRUE(session.listings().empty());
    }
  }

  ResultCode UploadBig(ServerSession& session) {
    EXPECT_TRUE(files_.WriteWholeFile("C:\\m\\big.bin", "0123456789"));  // over a 4-byte unit
    return Upload(session, "C:\\m\\big.bin", "/r/big.bin");
  }
};

TEST_F(OversizedAnswerTest, AnswersReadWholeStopAtTheirBound) {
  const Listing* listing = nullptr;
  ActiveLock lock;
  QuotaFigures figures;
  std::string token, address;
  bool published = false;
  uint64_t since = 0;
  DisplaySetting setting;
  const uint64_t xml_bound = kMaxXmlAnswerBytes + 4096;
  RunAll(
      {
          {"listing", [&] { http_.Script(EndlessXml(207)); },
           [&](ServerSession& s) { return ListFolder(s, "/r/", &listing); }, 53},
          {"empty folder", [&] { http_.Script(EndlessXml(207)); },
           [&](ServerSession& s) { return EmptyFolder(s, "/r/"); }, 47},
          {"lock", [&] { http_.Script(EndlessXml(200)); },
           [&](ServerSession& s) { return Lock(s, "/r/a", &token); }, 48},
          {"lock discovery", [&] { http_.Script(EndlessXml(207)); },
           [&](ServerSession& s) { return DiscoverLock(s, "/r/a", &lock); }, 55},
          {"disk lock discovery", [&] { http_.Script(EndlessXml(207)); },
           [&](ServerSession& s) { return ReleaseOwnLocksOnDisk(s, kRoot); }, 57},
          {"quota", [&] { http_.Script(EndlessXml(207)); },
           [&](ServerSession& s) { return QueryQuota(s, kRoot, &figures); }, 54},
          // Operations that meet a lock read the discovery's answer.
          {"set time after 423",
           [&] {
             http_.Script(423);
             http_.Script(EndlessXml(207));
           },
           [&](ServerSession& s) { return SetLastModified(s, testing::kDateTime, "/r/a"); }, 55},
          {"delete after 423",
           [&] {
             http_.Script(423);
             http_.Script(EndlessXml(207));
           },
           [&](ServerSession& s) { return DeleteResource(s, "/r/a"); }, 57},
          {"upload in ranges", [&] { http_.Script(EndlessXml(200)); },
           [&](ServerSession& s) { return UploadBig(s); }, 48},
      },
      xml_bound);
  std::string path;
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));  // the upload never locked
  EXPECT_EQ(figures.quota, 0);

  const uint64_t text_bound = kMaxTextAnswerBytes + 4095;
  RunAll(
      {
          {"PUBQ", [&] { http_.Script(EndlessText("true ")); },
           [&](ServerSession& s) { return QueryPublished(s, "/r/", &published); }, 113},
          // Nothing of a NUL body is kept, but it must end all the same.
          {"PUBQ of NUL bytes", [&] { http_.Script(EndlessText(std::string(3, '\0'))); },
           [&](ServerSession& s) { return QueryPublished(s, "/r/", &published); }, 113},
          {"PTIM", [&] { http_.Script(EndlessText(testing::kDate)); },
           [&](ServerSession& s) { return QueryPublishedSince(s, "/r/", &since); }, 114},
          {"PURL", [&] { http_.Script(EndlessText("http://example.jp/")); },
           [&](ServerSession& s) { return QueryPublicAddress(s, "/r/", &address); }, 115},
          {"PGDS", [&] { http_.Script(EndlessText("custom\r\nname")); },
           [&](ServerSession& s) { return QueryDisplaySetting(s, "/r/", &setting); }, 117},
      },
      text_bound);
  EXPECT_FALSE(published);
  EXPECT_TRUE(address.empty());
}

TEST_F(OversizedAnswerTest, AnswersUpToTheirBoundAreRead) {
  // A listing padded with white space after its root element to exactly the bound is read;
  // one byte more is refused.
  const std::string listing =
      Multistatus(DavResponse("/r/", "") + DavResponse("/r/a", FileProps(3)));
  for (uint64_t extra : {0, 1}) {
    ServerSession& session = Session();
    ScriptedReply reply;
    reply.status = 207;
    reply.body = listing;
    reply.repeated_body = {"\n", kMaxXmlAnswerBytes - listing.size() + extra};
    http_.Script(reply);
    const Listing* items = nullptr;
    ASSERT_EQ(ListFolder(session, "/r/", &items), extra ? 53u : 0u);
    if (!extra) {
      ASSERT_NE(items, nullptr);
      ASSERT_EQ(items->size(), 1u);
      EXPECT_EQ((*items)[0].name, "a");
    }
    EXPECT_EQ(SpoolFiles(), 0u);
  }

  for (uint64_t extra : {0, 1}) {
    ServerSession& session = Session();
    ScriptedReply reply;
    reply.repeated_body = {"http://example.jp/", kMaxTextAnswerBytes + extra};
    http_.Script(reply);
    std::string address;
    EXPECT_EQ(QueryPublicAddress(session, "/r/", &address), extra ? 115u : 0u);
    EXPECT_EQ(address.size(), extra ? 0u : kMaxTextAnswerBytes);
  }
}

// Header blocks beyond any allocation: with logging on, every status read copies the
// answer's header block for the trace, so every operation meets the failure.
class UnholdableHeadersTest : public OversizedAnswerTest {
 protected:
  // An answer whose header block cannot be held (`padding_` decides how it fails).
  ScriptedReply Unholdable(uint32_t status, std::string body = "") {
    ScriptedReply reply;
    reply.status = status;
    reply.body = std::move(body);
    reply.padding_header_bytes = padding_;
    return reply;
  }

  std::vector<Case> AllOperations() {
    auto once = [this](uint32_t status) {
      return [this, status] { http_.Script(Unholdable(status)); };
    };
    return {
        {"listing", once(207), [&](ServerSession& s) { return ListFolder(s, "/r/", &listing_); },
         2},
        {"file status", once(200), [&](ServerSession& s) { return FileStatus(s, "/r/a", &item_); },
         500},
        {"size", once(200), [&](ServerSession& s) { return QuerySize(s, "/r/a", &size_); }, 56},
        {"set time", once(207),
         [&](ServerSession& s) { return SetLastModified(s, testing::kDateTime, "/r/a"); }, 45},
        {"make folder", once(201), [&](ServerSession& s) { return MakeFolder(s, "/r/n/"); }, 42},
        {"delete", once(204), [&](ServerSession& s) { return DeleteResource(s, "/r/a"); }, 41},
        {"empty folder", once(207), [&](ServerSession& s) { return EmptyFolder(s, "/r/"); }, 47},
        {"download", once(200),
         [&](ServerSession& s) { return Download(s, "/r/a", "C:\\m\\a.txt", nullptr); }, 44},
        {"lock", once(200), [&](ServerSession& s) { return Lock(s, "/r/a", &token_); }, 48},
        {"unlock", once(204), [&](ServerSession& s) { return Unlock(s, "/r/a", "t"); }, 49},
        {"lock discovery", once(207),
         [&](ServerSession& s) { return DiscoverLock(s, "/r/a", &lock_); }, 55},
        {"disk lock discovery", once(207),
         [&](ServerSession& s) { return ReleaseOwnLocksOnDisk(s, kRoot); }, 57},
        {"quota", once(207), [&](ServerSession& s) { return QueryQuota(s, kRoot, &figures_); }, 54},
        {"PUBT", once(204), [&](ServerSession& s) { return Publish(s, "/r/"); }, 111},
        {"PUBF", once(204), [&](ServerSession& s) { return Unpublish(s, "/r/"); }, 112},
        {"PUBQ", once(200), [&](ServerSession& s) { return QueryPublished(s, "/r/", &flag_); },
         113},
        {"PTIM", once(200), [&](ServerSession& s) { return QueryPublishedSince(s, "/r/", &size_); },
         114},
        {"PURL", once(200), [&](ServerSession& s) { return QueryPublicAddress(s, "/r/", &token_); },
         115},
        {"PSDS", once(204),
         [&](ServerSession& s) { return SetDisplaySetting(s, "/r/", DisplaySetting()); }, 116},
        {"PGDS", once(200),
         [&](ServerSession& s) { return QueryDisplaySetting(s, "/r/", &setting_); }, 117},
    };
  }

  uint64_t padding_ = 0;
  const Listing* listing_ = nullptr;
  FindData item_;
  uint64_t size_ = 0;
  std::string token_;
  ActiveLock lock_;
  QuotaFigures figures_;
  bool flag_ = false;
  DisplaySetting setting_;
};

TEST_F(UnholdableHeadersTest, EveryOperationEndsWithItsOwnCode) {
  StartLog();
  ASSERT_TRUE(files_.WriteWholeFile("C:\\m\\a.txt", "old"));
  for (uint64_t padding : {kHuge, UINT64_MAX}) {  // std::bad_alloc, std::length_error
    SCOPED_TRACE(padding);
    padding_ = padding;
    RunAll(AllOperations(), 0);
  }
  std::string content;
  ASSERT_TRUE(files_.ReadWholeFile("C:\\m\\a.txt", &content));
  EXPECT_EQ(content, "old");
}

TEST_F(UnholdableHeadersTest, HeadersReadWithoutLoggingToo) {
  padding_ = kHuge;
  RunAll(
      {
          {"file status", [&] { http_.Script(Unholdable(200)); },
           [&](ServerSession& s) { return FileStatus(s, "/r/a", &item_); }, 500},
          {"size", [&] { http_.Script(Unholdable(200)); },
           [&](ServerSession& s) { return QuerySize(s, "/r/a", &size_); }, 56},
          {"download", [&] { http_.Script(Unholdable(200, "new")); },
           [&](ServerSession& s) { return Download(s, "/r/a", "C:\\m\\a.txt", nullptr); }, 44},
      },
      0);
  EXPECT_FALSE(files_.Exists("C:\\m\\a.txt"));
}

TEST_F(UnholdableHeadersTest, UploadStillReleasesItsLock) {
  StartLog();
  padding_ = kHuge;
  RunAll({{"upload in ranges",
           [&] {
             http_.Script(200, "", testing::LockGranted("opaquelocktoken:u"));
             http_.Script(Unholdable(200));  // the first piece's answer
             http_.Script(204);
           },
           [&](ServerSession& s) { return UploadBig(s); }, 43}},
         UINT64_MAX);
  const auto& requests = http_.requests();
  ASSERT_EQ(requests.size(), 3u);
  EXPECT_EQ(requests[1].method, "PUT");
  EXPECT_EQ(requests[2].method, "UNLOCK");
  EXPECT_EQ(requests[2].Header("Lock-Token"), "<opaquelocktoken:u>");
  std::string path, token;
  EXPECT_FALSE(settings_.ReadLockToken(&path, &token));
}

}  // namespace
}  // namespace qbrk
