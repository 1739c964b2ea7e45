// One request in progress: its body arrives in pieces, then it is answered.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "core/checked.h"
#include "http_message.h"

namespace qbrk::emulator {

class Exchange {
 public:
  virtual ~Exchange() = default;
  // The next bytes of the request body. False drops the connection at once.
  virtual bool Consume(const char* data, size_t size) = 0;
  // The body is complete; the answer. Destroying an exchange without calling Finish means
  // the client went away, and whatever it started is undone. A request refused at once
  // still has its body read first, so that the client is not cut off while sending and
  // does see the answer.
  virtual Response Finish() = 0;
};

// Answers with a response fixed at the start; any body is read and dropped.
class FixedExchange : public Exchange {
 public:
  explicit FixedExchange(Response response) : response_(std::move(response)) {}
  bool Consume(const char*, size_t) override { return true; }
  Response Finish() override { return std::move(response_); }

 private:
  Response response_;
};

// Collects the body, up to limit bytes, and hands it over when it is complete. With a
// limit of 0 the body is read and dropped. A longer body is answered with 413.
class BodyExchange : public Exchange {
 public:
  using Finisher = std::function<Response(std::string body)>;
  BodyExchange(size_t limit, Finisher finish) : limit_(limit), finish_(std::move(finish)) {}
  bool Consume(const char* data, size_t size) override;
  Response Finish() override;

 private:
  size_t limit_;
  Finisher finish_;
  std::string body_;
  bool too_large_ = false;
};

// Passes everything through and lets a function amend the answer.
class AmendingExchange : public Exchange {
 public:
  using Amender = std::function<void(Response&)>;
  AmendingExchange(std::unique_ptr<Exchange> inner, Amender amend)
      : inner_(std::move(inner)), amend_(std::move(amend)) {}
  bool Consume(const char* data, size_t size) override { return inner_->Consume(data, size); }
  Response Finish() override {
    Response r = inner_->Finish();
    amend_(r);
    return r;
  }

 private:
  std::unique_ptr<Exchange> inner_;
  Amender amend_;
};

std::unique_ptr<Exchange> Fixed(Response response);
std::unique_ptr<Exchange> Refuse(const Refusal& refusal);
Response RefusalResponse(const Refusal& refusal);

}  // namespace qbrk::emulator
