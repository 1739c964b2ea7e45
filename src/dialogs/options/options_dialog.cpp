#include "dialogs/options/options_dialog.h"

#include "dialogs/dialog_requests.h"
#include "dialogs/modal_dialog.h"
#include "dialogs/options/dialog_controls.h"
#include "dialogs/options/option_rules.h"
#include "dialogs/options/options_entry.h"
#include "dialogs/options/upload_unit_dialog.h"
#include "platform/win32/win32_host_window.h"
#include "protocol/worker_messages.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

constexpr int kMailLimit = 64;
constexpr int kPasswordLimit = 15;
constexpr COLORREF kExampleColour = 0x0000FF;  // red

struct OptionsDialogState {
  OptionsRecord* record;
  HostWindow& host;
  uint32_t put_unit;  // kept apart until OK, as the unit dialog may change it
};

struct CheckBox {
  int id;
  uint32_t OptionsRecord::*field;
};

constexpr CheckBox kCheckBoxes[] = {
    {IDC_OPTIONS_REMEMBER, &OptionsRecord::remember_password},
    {IDC_OPTIONS_CHECK_BOOT, &OptionsRecord::check_boot},
    {IDC_OPTIONS_SYNC_NOTIFY, &OptionsRecord::sync_notify},
    {IDC_OPTIONS_FINISH_CLOSE, &OptionsRecord::finish_close},
    {IDC_OPTIONS_ANIMATION, &OptionsRecord::animation},
    {IDC_OPTIONS_START_WITH_WINDOWS, &OptionsRecord::start_with_windows},
    {IDC_OPTIONS_USE_SSL, &OptionsRecord::use_ssl},
};

INT_PTR ShowRecord(HWND dialog, const OptionsRecord& record) {
  SendDlgItemMessageA(dialog, IDC_OPTIONS_MAIL, EM_LIMITTEXT, kMailLimit, 0);
  SendDlgItemMessageA(dialog, IDC_OPTIONS_PASSWORD, EM_LIMITTEXT, kPasswordLimit, 0);
  SetDlgItemTextA(dialog, IDC_OPTIONS_MAIL, record.mail_address.c_str());
  SetDlgItemTextA(dialog, IDC_OPTIONS_PASSWORD, record.password.c_str());
  for (const CheckBox& box : kCheckBoxes)
    SetCheck(dialog, box.id, record.*box.field);
  return ApplyInitialFocus(dialog,
                           ChooseInitialFocus(record.mail_address, record.remember_password),
                           IDC_OPTIONS_MAIL, IDC_OPTIONS_PASSWORD);
}

void Accept(HWND dialog, OptionsDialogState& state) {
  OptionsRecord& record = *state.record;
  record.mail_address = ControlText(dialog, IDC_OPTIONS_MAIL);
  record.password = ControlText(dialog, IDC_OPTIONS_PASSWORD);
  for (const CheckBox& box : kCheckBoxes)
    record.*box.field = CheckOf(dialog, box.id);
  record.put_unit = state.put_unit;
  NotifyAnimation(state.host, record.animation);
  EndDialog(dialog, IDOK);
}

struct OptionsDialog {
  using State = OptionsDialogState;

  static INT_PTR Initialise(HWND dialog, OptionsDialogState& state) {
    return ShowRecord(dialog, *state.record);
  }

  static bool Clicked(HWND dialog, OptionsDialogState& state, int id) {
    switch (id) {
      case IDOK:
        Accept(dialog, state);
        return true;
      case IDC_OPTIONS_PUT_UNIT:
        RunUploadUnitDialog(dialog, &state.put_unit);
        return true;
    }
    return false;
  }

  // The example address is drawn in red on the dialog's face.
  static INT_PTR Other(HWND, OptionsDialogState&, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message != WM_CTLCOLORSTATIC ||
        GetDlgCtrlID(reinterpret_cast<HWND>(lparam)) != IDC_OPTIONS_EXAMPLE)
      return FALSE;
    HDC dc = reinterpret_cast<HDC>(wparam);
    SetTextColor(dc, kExampleColour);
    SetBkColor(dc, GetSysColor(COLOR_BTNFACE));
    return reinterpret_cast<INT_PTR>(GetSysColorBrush(COLOR_BTNFACE));
  }
};

}  // namespace

uint32_t ShowOptionsDialog(HWND owner, OptionsRecord* record, HostWindow& host) {
  OptionsDialogState state{record, host, record->put_unit};
  const INT_PTR ended = RunModalDialog<OptionsDialog>(owner, IDD_OPTIONS, &state);
  return ended == IDOK || ended == IDCANCEL ? static_cast<uint32_t>(ended) : 0;
}

uint32_t RunOptionsDialog(HWND owner, OptionsRecord* record) {
  try {
    Win32HostWindow host;
    return ShowOptionsDialog(owner, record, host) == IDOK ? kAnswerOk : 0;
  } catch (...) {
    return 0;
  }
}

uint32_t OpenOptions(Env& env, HWND owner) {
  return RunOptionsEntry(env, [&env, owner](OptionsRecord* record) {
    return ShowOptionsDialog(owner, record, env.host);
  });
}

}  // namespace qbrk
