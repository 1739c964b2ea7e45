// The modal dialogs a progress dialog runs for its worker: requests 1085 (options) and 1090
// (sign-in, or proxy sign-in). Each fills its controls from the record, writes them back
// when the user confirms, and returns the answer word: kAnswerOk (1) when confirmed, else 0.
// Neither touches the registry; the worker loads and stores the record.
#pragma once

#include <windows.h>

#include <cstdint>

#include "protocol/sign_in_record.h"
#include "settings/options.h"

namespace qbrk {

uint32_t RunOptionsDialog(HWND owner, OptionsRecord* record);
uint32_t RunSignInDialog(HWND owner, SignInRecord* record);

}  // namespace qbrk
