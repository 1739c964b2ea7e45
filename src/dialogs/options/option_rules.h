// What the options, sign-in and upload unit dialogs decide, apart from Win32: the upload
// unit choices, the first control to focus, the sign-in texts and the host's animation
// command.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/host_window.h"

namespace qbrk {

struct UploadUnitChoice {
  const char* text;
  uint32_t bytes;  // 0: files are sent whole
};

// The upload unit dialog's list, in order.
inline constexpr std::array<UploadUnitChoice, 5> kUploadUnitChoices = {{
    {"128KB", 0x20000},
    {"256KB", 0x40000},
    {"512KB", 0x80000},
    {"1MB", 0x100000},
    {"制限なし", 0},
}};

// The unit every unknown value or selection falls back to: the settings' default.
inline constexpr uint32_t kFallbackUploadUnit = 0x80000;

// The entry selected for a stored unit; any value not in the list selects 512KB.
int UploadUnitIndex(uint32_t bytes);
// The unit of a selected entry; a selection outside the list gives 512KB.
uint32_t UploadUnitAt(int index);

// Where the caret starts in the options and sign-in dialogs: on the password when the user
// does not keep it, else on the mail address when there is none, else wherever the dialog
// manager puts it.
enum class InitialFocus { kPassword, kMailAddress, kDialogDefault };
InitialFocus ChooseInitialFocus(const std::string& mail_address, uint32_t remember_password);

// The sign-in dialog's title, prompt and name label, for the service or for a proxy.
struct SignInTexts {
  const char* title;
  const char* prompt;
  const char* name_label;
};
SignInTexts SignInTextsFor(bool proxy);

// Tells the host at once whether to animate its icon (posted 32783 with 1, or 32782 with
// 0). Nothing happens without a host window.
void NotifyAnimation(HostWindow& host, uint32_t animation);

}  // namespace qbrk
