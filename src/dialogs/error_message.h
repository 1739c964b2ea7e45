// The message that the error reporter shows for a result code: which text, whether the subject
// (a file or folder path) stands before it, the caption and the message box flags.
#pragma once

#include <cstdint>
#include <string>

#include "common/result_code.h"
#include "platform/string_table.h"

namespace qbrk {

// Bytes the subject may take in a message: it is cut by ShortenPath with a buffer this size.
inline constexpr size_t kSubjectBufferSize = 44;

enum class SubjectUse {
  kHidden,         // the subject is not shown
  kShortened,      // shown, cut to fit kSubjectBufferSize
  kWhole,          // shown as it is, however long
  kRootWhenEmpty,  // shown, cut; an empty subject stands for the disk root
};

struct ErrorRule {
  uint32_t string_id = 0;
  SubjectUse subject = SubjectUse::kHidden;
  bool status_button = false;  // offer the service status page
};

// The rule for `code`; `has_subject` matters only where an empty subject changes the text.
ErrorRule ErrorRuleFor(ResultCode code, bool has_subject);

struct ErrorMessage {
  bool shown = false;  // codes 0 and 1 are never shown
  std::string text;
  std::string caption;
  uint32_t type = 0;
};

// Everything the message box needs for `code`. `type` is the caller's flags; the icon is forced
// to the exclamation mark and the status button added where the rule says so.
ErrorMessage ComposeErrorMessage(ResultCode code, const std::string& subject, uint32_t type,
                                 StringTable& strings);

}  // namespace qbrk
