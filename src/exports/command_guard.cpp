#include "exports/command_guard.h"

namespace qbrk {

namespace {

// Holds the mutex and the host's busy state for one command.
class BusyScope {
 public:
  // Takes over a mutex that is already held; from here on it is released on every path.
  BusyScope(CommandMutex& mutex, HostWindow& host) : mutex_(mutex), host_(host) {
    try {
      host_found_ = host_.SendCommand(IDC_HOST_BUSY, 1);
    } catch (...) {
      host_found_ = false;
    }
  }
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;

  ~BusyScope() {
    mutex_.Release();
    // A destructor may run during unwinding: nothing may escape it.
    try {
      if (host_found_) host_.SendCommand(IDC_HOST_BUSY, 0);
    } catch (...) {
    }
  }

 private:
  CommandMutex& mutex_;
  HostWindow& host_;
  bool host_found_ = false;
};

}  // namespace

uint32_t CommandGuard::Run(ExportId id, uintptr_t host_value, uintptr_t owner,
                           const std::function<uint32_t()>& command) {
  const ExportRule& rule = RuleOf(id);
  if (rule.keeps_host_arguments) kept_.Keep(host_value, owner);
  if (!mutex_.Acquire(kCommandWaitMs)) return rule.busy_result;
  BusyScope busy(mutex_, host_);
  return command();
}

}  // namespace qbrk
