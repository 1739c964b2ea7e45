#include "exchange.h"

namespace qbrk::emulator {

bool BodyExchange::Consume(const char* data, size_t size) {
  if (limit_ == 0 || too_large_) return true;
  if (body_.size() + size > limit_) {
    too_large_ = true;
    body_.clear();
    return true;
  }
  body_.append(data, size);
  return true;
}

Response BodyExchange::Finish() {
  if (too_large_) return RefusalResponse({413, "request body too large"});
  return finish_(std::move(body_));
}

Response RefusalResponse(const Refusal& refusal) {
  return TextResponse(refusal.status, RefusalText(refusal));
}

std::unique_ptr<Exchange> Fixed(Response response) {
  return std::make_unique<FixedExchange>(std::move(response));
}

std::unique_ptr<Exchange> Refuse(const Refusal& refusal) {
  return Fixed(RefusalResponse(refusal));
}

}  // namespace qbrk::emulator
