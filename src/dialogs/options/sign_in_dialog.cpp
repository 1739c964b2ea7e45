// The sign-in dialog (6029), which with the record's proxy flag asks for the proxy's
// credentials instead.
#include "dialogs/dialog_requests.h"
#include "dialogs/modal_dialog.h"
#include "dialogs/options/dialog_controls.h"
#include "dialogs/options/option_rules.h"
#include "protocol/worker_messages.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

constexpr int kUserLimit = 64;
constexpr int kPasswordLimit = 15;

INT_PTR ShowRecord(HWND dialog, const SignInRecord& record) {
  SendDlgItemMessageA(dialog, IDC_SIGN_IN_USER, EM_LIMITTEXT, kUserLimit, 0);
  SendDlgItemMessageA(dialog, IDC_SIGN_IN_PASSWORD, EM_LIMITTEXT, kPasswordLimit, 0);
  if (record.proxy != 0) {
    const SignInTexts texts = SignInTextsFor(true);
    SetWindowTextA(dialog, texts.title);
    SetDlgItemTextA(dialog, IDC_SIGN_IN_PROMPT, texts.prompt);
    SetDlgItemTextA(dialog, IDC_SIGN_IN_USER_LABEL, texts.name_label);
  }
  SetDlgItemTextA(dialog, IDC_SIGN_IN_USER, record.user.c_str());
  SetDlgItemTextA(dialog, IDC_SIGN_IN_PASSWORD, record.password.c_str());
  SetCheck(dialog, IDC_SIGN_IN_REMEMBER, record.remember);
  return ApplyInitialFocus(dialog, ChooseInitialFocus(record.user, record.remember),
                           IDC_SIGN_IN_USER, IDC_SIGN_IN_PASSWORD);
}

void Accept(HWND dialog, SignInRecord& record) {
  record.user = ControlText(dialog, IDC_SIGN_IN_USER);
  record.password = ControlText(dialog, IDC_SIGN_IN_PASSWORD);
  record.remember = CheckOf(dialog, IDC_SIGN_IN_REMEMBER);
  EndDialog(dialog, IDOK);
}

struct SignInDialog {
  using State = SignInRecord;
  static INT_PTR Initialise(HWND dialog, SignInRecord& record) {
    return ShowRecord(dialog, record);
  }
  static bool Clicked(HWND dialog, SignInRecord& record, int id) {
    // IDOK too: Enter, should the dialog manager name the default button so.
    if (id != IDC_SIGN_IN_OK && id != IDOK) return false;
    Accept(dialog, record);
    return true;
  }
};

}  // namespace

uint32_t RunSignInDialog(HWND owner, SignInRecord* record) {
  try {
    // The dialog edits a copy: a cancelled or failed dialog leaves the record as it was.
    SignInRecord edited = *record;
    if (RunModalDialog<SignInDialog>(owner, IDD_SIGN_IN, &edited) != IDOK) return 0;
    *record = std::move(edited);
    return kAnswerOk;
  } catch (...) {
    return 0;
  }
}

}  // namespace qbrk
