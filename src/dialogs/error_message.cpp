#include "dialogs/error_message.h"

#include "dialogs/message_box_rules.h"
#include "dialogs/shorten_path.h"

namespace qbrk {

namespace {

constexpr uint32_t kUnknownErrorText = 122;
constexpr uint32_t kErrorIcon = 0x30;  // the exclamation mark
// The disk root has no name of its own; this stands in for it.
constexpr char kRootSubject[] = "\\ (ROOT)";

}  // namespace

ErrorRule ErrorRuleFor(ResultCode code, bool has_subject) {
  using S = SubjectUse;
  switch (code) {
    case 41:
    case 42:
    case 43:
    case 44:
    case 45:
    case 48:
    case 49:
      return has_subject ? ErrorRule{120, S::kShortened, false}
                         : ErrorRule{kUnknownErrorText, S::kHidden, false};
    case 47:
      return {170, S::kHidden, false};
    case 51:
    case 52:
    case 53:
      return {151, S::kHidden, true};
    case 71:
      return {125, S::kHidden, false};
    case 72:
      return {118, S::kShortened, false};
    case 73:
      return {127, S::kHidden, false};
    case 74:
      return {115, S::kHidden, true};
    case 75:
      return {116, S::kHidden, true};
    case 76:
      return {131, S::kHidden, false};
    case 77:
      return {172, S::kShortened, false};
    case 78:
      return {182, S::kHidden, true};
    case 80:
      return {184, S::kHidden, false};
    case 91:
      return {128, S::kHidden, false};
    case 92:
      return {130, S::kHidden, false};
    case 93:
      return {124, S::kHidden, false};
    case 94:
      return {129, S::kShortened, false};
    case 95:
      return {162, S::kHidden, false};
    case 96:
      return {126, S::kWhole, false};
    case 98:
      return {176, S::kShortened, false};
    case 99:
      return {177, S::kShortened, false};
    case 131:
      return {155, S::kRootWhenEmpty, false};
    case 132:
      return {158, S::kHidden, false};
    case 133:
      return {159, S::kHidden, false};
    case 134:
      return {165, S::kHidden, false};
    case 135:
      return {179, S::kHidden, false};
    case 136:
      return {180, S::kHidden, false};
    case 137:
      return {181, S::kHidden, false};
    case 155:
      return {174, S::kHidden, false};
    default:
      return {kUnknownErrorText, S::kHidden, false};
  }
}

ErrorMessage ComposeErrorMessage(ResultCode code, const std::string& subject, uint32_t type,
                                 StringTable& strings) {
  ErrorMessage message;
  if (code == result::kSuccess || code == result::kCancelled) return message;

  const ErrorRule rule = ErrorRuleFor(code, !subject.empty());
  std::string shown_subject;
  switch (rule.subject) {
    case SubjectUse::kHidden:
      break;
    case SubjectUse::kShortened:
      shown_subject = ShortenPath(subject, kSubjectBufferSize);
      break;
    case SubjectUse::kWhole:
      shown_subject = subject;
      break;
    case SubjectUse::kRootWhenEmpty:
      shown_subject = ShortenPath(subject.empty() ? kRootSubject : subject, kSubjectBufferSize);
      break;
  }

  message.shown = true;
  message.text = shown_subject + strings.Load(rule.string_id);
  message.caption = "Qbrook　エラーNo." + std::to_string(code);
  message.type = (type & ~kBoxIconMask) | kErrorIcon | (rule.status_button ? kBoxStatusButton : 0);
  return message;
}

}  // namespace qbrk
