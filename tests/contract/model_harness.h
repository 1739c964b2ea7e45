// The two services the model's contract suite runs against: the model itself and the
// emulator in process. Each is seeded, inspected and told about time the same way, so that
// one scenario with one set of expectations runs on both.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/model_service.h"
#include "platform/memory/http_handler.h"

namespace qbrk::testing {

inline constexpr char kModelUser[] = "taro@example.jp";
inline constexpr char kModelPassword[] = "secret";
inline constexpr char kModelRoot[] = "/~taro@example.jp/file/";
inline constexpr char kPreferredHost[] = "dav2.example.jp";

class ServiceUnderTest {
 public:
  virtual ~ServiceUnderTest() = default;
  virtual HandlerResponse Handle(const HandlerRequest& request) = 0;

  // Seeding: a file or folder with its time, its folder's time left as it was.
  virtual void PutFile(const std::string& path, const std::string& bytes, uint64_t time) = 0;
  virtual void MakeFolder(const std::string& path, uint64_t time) = 0;
  // The disk as it is now (times to the second).
  virtual model::Tree Tree() = 0;
  // A lock of someone-else@example.jp: its token, or "" when it clashes with one held.
  virtual std::string HoldLock(const std::string& path, int64_t seconds, bool infinite) = 0;
  virtual void ReleaseLocks() = 0;
  virtual void SetQuota(uint64_t bytes) = 0;
  // The next request of `method` on `rel` meets a fault, in the emulator's rule words
  // ("status=N", "cut-request=N", "cut-response=N").
  virtual void InjectFault(const std::string& method, const std::string& rel,
                           const std::string& rule) = 0;
  // Moves the clock that locks expire by.
  virtual void Advance(int64_t seconds) = 0;
  // Whether `file_time` is the service's "now" of the requests made so far (the model's
  // clock exactly; the real clock within the last requests for the emulator).
  virtual bool IsNow(uint64_t file_time) = 0;
  // Why it cannot run, or "".
  virtual std::string missing() { return {}; }
};

// The model on a clock of its own (2024-05-01 12:00:00 UTC, moved by Advance), or on the real
// clock, to be compared with the emulator's times.
std::unique_ptr<ServiceUnderTest> MakeModelUnderTest();
std::unique_ptr<ServiceUnderTest> MakeModelOnRealClock();
std::unique_ptr<ServiceUnderTest> MakeEmulatorUnderTest();

// The real clock as a FILETIME.
uint64_t RealNow();

}  // namespace qbrk::testing
