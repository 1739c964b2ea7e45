// A value or the HTTP status (with a reason) that refuses the request.
#pragma once

#include <optional>
#include <utility>

#include "refusal.h"

namespace qbrk::emulator {

template <typename T>
class Checked {
 public:
  Checked(T value) : value_(std::move(value)) {}              // NOLINT: implicit by design
  Checked(Refusal refusal) : refusal_(std::move(refusal)) {}  // NOLINT

  bool ok() const { return value_.has_value(); }
  const T& value() const { return *value_; }
  T& value() { return *value_; }
  const Refusal& refusal() const { return refusal_; }

 private:
  std::optional<T> value_;
  Refusal refusal_;
};

}  // namespace qbrk::emulator
