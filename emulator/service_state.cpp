#include "service_state.h"

#include <chrono>
#include <cstdio>
#include <random>

namespace qbrk::emulator {

int64_t ServiceState::NowMs() const {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count() +
         clock_offset_ms.load();
}

void ServiceState::Sleep(int64_t ms) {
  std::unique_lock<std::mutex> lock(stop_mu_);
  stop_cv_.wait_for(lock, std::chrono::milliseconds(ms), [this] { return stopping_; });
}

void ServiceState::Stop() {
  {
    std::lock_guard<std::mutex> lock(stop_mu_);
    stopping_ = true;
  }
  stop_cv_.notify_all();
}

void ServiceState::ExpireLocks() {
  for (const Lock& lock : locks.Expire(NowMs()))
    staging.DropToken(lock.token);
}

void ServiceState::ForgetInside(const std::string& user, const std::string& rel) {
  for (const Lock& lock : locks.RemoveInside(user, rel))
    staging.DropToken(lock.token);
  staging.DropInside(user, rel);
  if (publications.RemoveInside(user, rel)) publications.Save();
  if (properties.RemoveInside(user, rel)) properties.Save();
}

std::string ServiceState::PublicBase() const {
  return config.public_base.empty() ? base_url : config.public_base;
}

std::string RandomHex(size_t bytes) {
  std::random_device device;
  std::string out;
  constexpr char kDigits[] = "0123456789abcdef";
  for (size_t i = 0; i < bytes; i += 4) {
    uint32_t word = device();
    for (size_t k = 0; k < 4 && i + k < bytes; ++k, word >>= 8) {
      out += kDigits[(word >> 4) & 15];
      out += kDigits[word & 15];
    }
  }
  return out;
}

std::string NewLockToken() {
  const std::string hex = RandomHex(16);
  // A version 4 UUID in its usual five groups.
  std::string uuid = hex.substr(0, 8) + "-" + hex.substr(8, 4) + "-4" + hex.substr(13, 3) + "-" +
                     "89ab"[hex[16] % 4] + hex.substr(17, 3) + "-" + hex.substr(20, 12);
  return "opaquelocktoken:" + uuid;
}

}  // namespace qbrk::emulator
