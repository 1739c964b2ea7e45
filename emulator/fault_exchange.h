// An exchange with a fault rule applied to it.
#pragma once

#include <memory>

#include "core/faults.h"
#include "exchange.h"
#include "service_state.h"

namespace qbrk::emulator {

class FaultExchange : public Exchange {
 public:
  FaultExchange(std::unique_ptr<Exchange> inner, FaultRule rule, ServiceState& state)
      : inner_(std::move(inner)), rule_(std::move(rule)), state_(state) {}

  bool Consume(const char* data, size_t size) override;
  // The request is carried out first, then the answer is held back for the delay.
  Response Finish() override;

 private:
  std::unique_ptr<Exchange> inner_;
  FaultRule rule_;
  ServiceState& state_;
  uint64_t received_ = 0;
};

}  // namespace qbrk::emulator
