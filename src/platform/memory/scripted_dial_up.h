// Dial-up twins: a loader that finds the library or not, and a list of connections that a
// test changes between a connection's open and close. A hang-up drops the entry after a
// chosen number of status polls.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/dial_up.h"

namespace qbrk {

class ScriptedDialUp final : public DialUpLoader {
 public:
  std::unique_ptr<DialUp> Load() override;

  // false: the library (or an entry point) is missing.
  void set_present(bool present) { present_ = present; }
  void set_enumerate_error(SysError error) { enumerate_error_ = error; }
  // Status polls that still report the connection after its hang-up.
  void set_polls_until_gone(size_t polls) { polls_until_gone_ = polls; }

  std::vector<DialUpEntry>& connections() { return connections_; }
  const std::vector<uintptr_t>& hung_up() const { return hung_up_; }
  size_t status_polls() const { return status_polls_; }
  size_t loads() const { return loads_; }

 private:
  class Loaded;

  bool present_ = true;
  SysError enumerate_error_ = 0;
  size_t polls_until_gone_ = 0;
  std::vector<DialUpEntry> connections_;
  std::vector<uintptr_t> hung_up_;
  size_t status_polls_ = 0;
  size_t loads_ = 0;
};

}  // namespace qbrk
