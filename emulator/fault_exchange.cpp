#include "fault_exchange.h"

#include "protocol/service.h"

namespace qbrk::emulator {

bool FaultExchange::Consume(const char* data, size_t size) {
  if (rule_.cut_request_after && received_ + size > *rule_.cut_request_after) {
    const size_t allowed = static_cast<size_t>(*rule_.cut_request_after - received_);
    if (allowed > 0) inner_->Consume(data, allowed);
    received_ += allowed;
    return false;
  }
  received_ += size;
  return inner_->Consume(data, size);
}

Response FaultExchange::Finish() {
  Response r = inner_->Finish();
  if (rule_.delay_ms > 0) state_.Sleep(rule_.delay_ms);
  if (rule_.cut_response_after) r.cut_after = *rule_.cut_response_after;
  if (rule_.version) {
    if (rule_.version->empty()) {
      r.headers.Remove(kVersionHeader);
    } else {
      r.headers.Set(kVersionHeader, *rule_.version);
    }
  }
  return r;
}

}  // namespace qbrk::emulator
