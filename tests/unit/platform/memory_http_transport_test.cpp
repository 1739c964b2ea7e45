// The in-memory transport behaves like the Internet client where the library depends on it,
// and refuses the call orders the real one does not survive.
#include "platform/memory/memory_http_transport.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "platform/memory/scripted_dialog_link.h"

namespace qbrk {
namespace {

class MemoryHttpTransportTest : public ::testing::Test {
 protected:
  std::unique_ptr<HttpRequest> Open(const char* method = "PUT", const char* path = "/a") {
    if (!session_) {
      EXPECT_EQ(http_.OpenSession("agent", &session_), 0u);
      EXPECT_EQ(session_->Connect("h", 8080, &connection_), 0u);
    }
    std::unique_ptr<HttpRequest> request;
    EXPECT_EQ(connection_->OpenRequest(method, path, 0x84000000, &request), 0u);
    return request;
  }

  MemoryHttpTransport http_;
  std::unique_ptr<HttpSession> session_;
  std::unique_ptr<HttpConnection> connection_;
};

TEST_F(MemoryHttpTransportTest, HeaderModesAndWireForm) {
  http_.Script(201, "Server: x");
  auto request = Open();
  EXPECT_EQ(request->AddHeaders("Depth: 0", HeaderMode::kAddIfNew), 0u);
  EXPECT_EQ(request->AddHeaders("depth: 1\r\n", HeaderMode::kAddIfNew), 12155u);
  EXPECT_EQ(request->AddHeaders("Depth: 2\r\n", HeaderMode::kReplace), 0u);
  EXPECT_EQ(request->AddHeaders("Content-Length: 0", HeaderMode::kReplace), 0u);
  EXPECT_EQ(request->BeginSend(3), 0u);
  EXPECT_EQ(request->Write("abc", 3), 0u);
  EXPECT_EQ(request->EndSend(), 0u);
  uint32_t status = 0;
  ASSERT_EQ(request->QueryStatus(&status), 0u);
  EXPECT_EQ(status, 201u);
  std::string text;
  ASSERT_EQ(request->QueryRawHeaders(HeaderBlock::kRequest, &text), 0u);
  // After the send, with what WinINet adds when the client did not (checked under Wine).
  EXPECT_EQ(text,
            "PUT /a HTTP/1.1\r\nDepth: 2\r\nContent-Length: 0\r\nHost: h:8080\r\n"
            "User-Agent: agent\r\nCache-Control: no-cache\r\n\r\n");
  ASSERT_EQ(request->QueryRawHeaders(HeaderBlock::kResponse, &text), 0u);
  EXPECT_EQ(text, "HTTP/1.1 201 Created\r\nServer: x\r\n\r\n");
  const SentRequest& sent = http_.requests()[0];
  EXPECT_EQ(sent.Wire(), "PUT /a HTTP/1.1\r\nDepth: 2\r\nContent-Length: 0\r\n\r\nabc");
  EXPECT_EQ(sent.header_calls.size(), 4u);
  EXPECT_EQ(sent.host + ":" + std::to_string(sent.port), "h:8080");
  EXPECT_EQ(http_.misuses(), 0u);
}

TEST_F(MemoryHttpTransportTest, RefusesStepsOutOfOrder) {
  http_.ScriptFailure(FailStep::kSend, 12029);
  auto request = Open();
  EXPECT_EQ(request->BeginSend(3), 12029u);
  EXPECT_EQ(request->Write("abc", 3), 12019u);  // the real client crashes here
  uint32_t status;
  EXPECT_EQ(request->QueryStatus(&status), 12019u);
  EXPECT_EQ(http_.misuses(), 2u);

  http_.Script(200);
  request = Open();
  EXPECT_EQ(request->Write("x", 1), 12019u);
  EXPECT_EQ(request->BeginSend(1), 0u);
  EXPECT_EQ(request->EndSend(), 12019u);  // the announced byte never came
  EXPECT_EQ(request->Write("xy", 2), 12019u);
  EXPECT_EQ(http_.misuses(), 5u);
}

TEST_F(MemoryHttpTransportTest, ScriptedFailuresAndUnansweredRequests) {
  ScriptedReply cut;
  cut.body = "0123456789";
  cut.fail_at = FailStep::kRead;
  cut.error = 12030;
  cut.fail_after_bytes = 6;
  http_.Script(cut);
  auto request = Open("GET");
  ASSERT_EQ(request->Send({}), 0u);
  char buffer[4];
  uint32_t got = 0;
  EXPECT_EQ(request->Read(buffer, 4, &got), 0u);
  EXPECT_EQ(got, 4u);
  EXPECT_EQ(request->Read(buffer, 4, &got), 0u);
  EXPECT_EQ(got, 2u);
  EXPECT_EQ(request->Read(buffer, 4, &got), 12030u);
  request.reset();

  std::unique_ptr<HttpRequest> none;
  EXPECT_EQ(connection_->OpenRequest("GET", "/", 0, &none), 12029u);
  EXPECT_EQ(http_.unanswered(), 1u);
  EXPECT_EQ(http_.open_requests(), 0u);
}

TEST_F(MemoryHttpTransportTest, HandlerSeesTheRequestAndAnswersIt) {
  HandlerRequest seen;
  http_.set_handler([&](const HandlerRequest& request) {
    seen = request;
    return HandlerResponse{207, {{"Content-Type", "text/xml"}}, "<x/>"};
  });
  auto request = Open("PROPFIND", "/d%25/");
  request->AddHeaders("Depth: 1\r\n", HeaderMode::kAddIfNew);
  ASSERT_EQ(request->Send("body"), 0u);
  EXPECT_EQ(seen.method, "PROPFIND");
  EXPECT_EQ(seen.path, "/d%25/");
  ASSERT_EQ(seen.headers.size(), 1u);
  EXPECT_EQ(seen.headers[0], std::make_pair(std::string("Depth"), std::string("1")));
  EXPECT_EQ(seen.body, "body");
  uint32_t status = 0;
  ASSERT_EQ(request->QueryStatus(&status), 0u);
  EXPECT_EQ(status, 207u);
  char buffer[16];
  uint32_t got = 0;
  ASSERT_EQ(request->Read(buffer, sizeof buffer, &got), 0u);
  EXPECT_EQ(std::string(buffer, got), "<x/>");
}

TEST_F(MemoryHttpTransportTest, DescribedBodiesAndHeaderBlocks) {
  // A body of a held part and a repeated chunk, read across their seam; a cut inside it.
  ScriptedReply reply;
  reply.body = "<a>";
  reply.repeated_body = {"xyz", 7};
  http_.Script(reply);
  reply.fail_at = FailStep::kRead;
  reply.error = 12030;
  reply.fail_after_bytes = 6;
  http_.Script(reply);
  for (const char* expected : {"<a>xyzxyzx", "<a>xyz"}) {
    auto request = Open("GET");
    ASSERT_EQ(request->Send({}), 0u);
    std::string body;
    char buffer[4];
    uint32_t got = 0;
    SysError error = 0;
    for (int reads = 0; reads < 10; ++reads) {
      error = request->Read(buffer, sizeof buffer, &got);
      if (error != 0 || got == 0) break;
      body.append(buffer, got);
    }
    EXPECT_EQ(body, expected);
    EXPECT_EQ(error, body.size() == 6 ? 12030u : 0u);
  }
  EXPECT_EQ(http_.body_bytes_read(), 16u);

  // A handler's answer can be described the same way: 4 GiB, read only at its start.
  http_.set_handler([](const HandlerRequest&) {
    HandlerResponse response;
    response.repeated_body = {"0123456789", uint64_t{4} << 30};
    return response;
  });
  auto request = Open("GET");
  ASSERT_EQ(request->Send({}), 0u);
  char buffer[4096];
  uint32_t got = 0;
  ASSERT_EQ(request->Read(buffer, sizeof buffer, &got), 0u);
  EXPECT_EQ(got, 4096u);
  EXPECT_EQ(std::string(buffer + 4090, 6), "012345");

  // A padding header line is built while it fits; past that, asking for the block throws
  // what the real client's allocation of it would.
  std::string text;
  ScriptedReply padded;
  padded.headers = "Server: x\r\n";
  padded.padding_header_bytes = 5;
  http_.Script(padded);
  padded.padding_header_bytes = uint64_t{3} << 30;
  http_.Script(padded);
  padded.padding_header_bytes = UINT64_MAX;
  http_.Script(padded);
  request = Open("GET");
  ASSERT_EQ(request->Send({}), 0u);
  ASSERT_EQ(request->QueryRawHeaders(HeaderBlock::kResponse, &text), 0u);
  EXPECT_EQ(text, "HTTP/1.1 200 OK\r\nServer: x\r\nX-Padding: ppppp\r\n\r\n");
  request = Open("GET");
  ASSERT_EQ(request->Send({}), 0u);
  // 3 GiB is more than one allocation gives; in a 32-bit build more than a string holds.
  if ((uint64_t{3} << 30) > std::string().max_size()) {
    EXPECT_THROW(request->QueryRawHeaders(HeaderBlock::kResponse, &text), std::length_error);
  } else {
    EXPECT_THROW(request->QueryRawHeaders(HeaderBlock::kResponse, &text), std::bad_alloc);
  }
  EXPECT_EQ(request->QueryRawHeaders(HeaderBlock::kRequest, &text), 0u);  // ours is small
  request = Open("GET");
  ASSERT_EQ(request->Send({}), 0u);
  EXPECT_THROW(request->QueryRawHeaders(HeaderBlock::kResponse, &text), std::length_error);
}

TEST_F(MemoryHttpTransportTest, HandlerFailsARequestWhereWinInetWouldReportIt) {
  HandlerResponse next;
  http_.set_handler([&](const HandlerRequest&) { return next; });

  // The step that delivered the request fails, whichever it was; no answer follows.
  next.fail_at = FailStep::kEnd;
  next.error = 12002;
  auto request = Open("DELETE");
  EXPECT_EQ(request->Send({}), 12002u);
  uint32_t status = 0;
  EXPECT_EQ(request->QueryStatus(&status), 12019u);  // a misuse: the send failed
  next.fail_at = FailStep::kSend;
  next.error = 12031;
  request = Open("PUT");
  ASSERT_EQ(request->BeginSend(2), 0u);
  ASSERT_EQ(request->Write("ab", 2), 0u);
  EXPECT_EQ(request->EndSend(), 12031u);
  EXPECT_TRUE(http_.requests().back().sent) << "it reached the server";
  EXPECT_EQ(http_.requests().back().body, "ab");
  EXPECT_EQ(http_.misuses(), 1u);

  // The status query, or the body after some bytes.
  next = HandlerResponse{200, {}, "0123456789"};
  next.fail_at = FailStep::kStatus;
  next.error = 12030;
  request = Open("GET");
  ASSERT_EQ(request->Send({}), 0u);
  EXPECT_EQ(request->QueryStatus(&status), 12030u);
  next.fail_at = FailStep::kRead;
  next.error = 12002;
  next.fail_after_bytes = 3;
  request = Open("GET");
  ASSERT_EQ(request->Send({}), 0u);
  char buffer[8];
  uint32_t got = 0;
  ASSERT_EQ(request->Read(buffer, sizeof buffer, &got), 0u);
  EXPECT_EQ(std::string(buffer, got), "012");
  EXPECT_EQ(request->Read(buffer, sizeof buffer, &got), 12002u);

  // Steps before the delivery ran before the handler did: naming one is a mistake.
  next.fail_at = FailStep::kWrite;
  request = Open("GET");
  EXPECT_EQ(request->Send({}), 0u);
  EXPECT_EQ(http_.misuses(), 2u);
}

TEST_F(MemoryHttpTransportTest, RecordingCanBeTurnedOff) {
  http_.set_handler([](const HandlerRequest& request) {
    return HandlerResponse{201, {}, request.body + "!"};
  });
  http_.set_recording(false);
  for (int i = 0; i < 3; ++i) {
    auto request = Open("PUT");
    ASSERT_EQ(request->AddHeaders("Depth: 0", HeaderMode::kAddIfNew), 0u);
    ASSERT_EQ(request->BeginSend(1), 0u);
    ASSERT_EQ(request->Write("x", 1), 0u);
    ASSERT_EQ(request->EndSend(), 0u);
    std::string block;
    ASSERT_EQ(request->QueryRawHeaders(HeaderBlock::kRequest, &block), 0u);
    // The request keeps its own record: the body it sent is still known.
    EXPECT_NE(block.find("\r\nContent-Length: 1\r\n"), std::string::npos) << block;
    char buffer[4];
    uint32_t got = 0;
    ASSERT_EQ(request->Read(buffer, sizeof buffer, &got), 0u);
    EXPECT_EQ(std::string(buffer, got), "x!");
  }
  EXPECT_TRUE(http_.requests().empty());
  EXPECT_EQ(http_.request_count(), 3u);
  http_.set_recording(true);
  auto request = Open("GET");
  EXPECT_EQ(http_.requests().size(), 1u);
  EXPECT_EQ(http_.request_count(), 4u);
}

TEST(ScriptedDialogLinkTest, AnswersRecordsAndDetaches) {
  ScriptedDialogLink link;
  link.OnMessage(1090,
                 [](uintptr_t, intptr_t answer) { *reinterpret_cast<uint32_t*>(answer) = 1; });
  uint32_t answer = 0;
  link.PostAndWait(1090, 0, reinterpret_cast<intptr_t>(&answer));
  EXPECT_EQ(answer, 1u);
  link.DetachAtMessage(1079, 2);
  link.PostAndWait(1079, 10, 0);
  EXPECT_TRUE(link.IsAttached());
  answer = 0;
  link.PostAndWait(1079, 20, 0);
  EXPECT_FALSE(link.IsAttached());
  link.PostAndWait(1090, 0, reinterpret_cast<intptr_t>(&answer));
  EXPECT_EQ(answer, 0u);  // a closed dialog answers nothing
  EXPECT_EQ(link.messages(), (std::vector<uint32_t>{1090, 1079, 1079}));

  ScriptedDialogLink polled;
  polled.DetachAfterPolls(2);
  EXPECT_TRUE(polled.IsAttached());
  EXPECT_TRUE(polled.IsAttached());
  EXPECT_FALSE(polled.IsAttached());
  EXPECT_FALSE(polled.IsAttached());
}

}  // namespace
}  // namespace qbrk
