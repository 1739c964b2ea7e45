// The three questions planning asks the user, with their messages and answer codes.
#pragma once

#include <cstdint>
#include <string>

#include "platform/dialog_link.h"

namespace qbrk {

// The message that carries each question to the job's dialog (wParam: the entry's name,
// lParam: the address of the 32-bit answer).
enum class ChoiceQuestion : uint32_t {
  kDeletedLocally = kWmUser + 62,   // 1086, dialog 6009
  kDeletedOnServer = kWmUser + 63,  // 1087, dialog 6008
  kConflict = kWmUser + 64,         // 1088, dialog 6003
};

namespace answer {
inline constexpr uint32_t kCancel = 0;
inline constexpr uint32_t kUpload = 1;  // conflict
inline constexpr uint32_t kUploadAll = 2;
inline constexpr uint32_t kDownload = 3;
inline constexpr uint32_t kDownloadAll = 4;
inline constexpr uint32_t kDownloadAgain = 5;  // deleted locally
inline constexpr uint32_t kDownloadAgainAll = 6;
inline constexpr uint32_t kDeleteOnServer = 7;
inline constexpr uint32_t kDeleteOnServerAll = 8;
inline constexpr uint32_t kUploadAgain = 9;  // deleted on the server
inline constexpr uint32_t kUploadAgainAll = 10;
inline constexpr uint32_t kDeleteLocally = 11;
inline constexpr uint32_t kDeleteLocallyAll = 12;
}  // namespace answer

// Asks the user when no dialog of the job is attached: the choice dialog shown modally by the
// worker itself (the dialog shortens the name for display). Returns the answer code.
class ChoicePrompt {
 public:
  virtual ~ChoicePrompt() = default;
  virtual uint32_t Ask(ChoiceQuestion question, const std::string& name) = 0;
};

}  // namespace qbrk
