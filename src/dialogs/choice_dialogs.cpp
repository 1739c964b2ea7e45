#include "dialogs/choice_dialogs.h"

#include "dialogs/choice_name.h"
#include "platform/win32/own_module.h"
#include "resource_ids.h"

namespace qbrk {

namespace {

// One dialog's template, controls and the answers of its two action buttons (the "all
// files" answer is each one's next code).
struct ChoiceLayout {
  int dialog;
  int name_label;
  int all_box;
  int initial_focus;
  int first_button;
  uint32_t first_answer;
  int second_button;
  uint32_t second_answer;
  bool cancel_writes_zero;
  bool warning_icon;
};

ChoiceLayout LayoutOf(ChoiceQuestion question) {
  switch (question) {
    case ChoiceQuestion::kConflict:
      return {.dialog = IDD_CHOICE_CONFLICT,
              .name_label = IDC_CHOICE_CONFLICT_NAME,
              .all_box = IDC_CHOICE_CONFLICT_ALL,
              .initial_focus = IDCANCEL,
              .first_button = IDC_CHOICE_CONFLICT_UPLOAD,
              .first_answer = answer::kUpload,
              .second_button = IDC_CHOICE_CONFLICT_DOWNLOAD,
              .second_answer = answer::kDownload,
              .cancel_writes_zero = false,
              .warning_icon = false};
    case ChoiceQuestion::kDeletedLocally:
      return {.dialog = IDD_CHOICE_DELETED_LOCALLY,
              .name_label = IDC_CHOICE_LOCAL_NAME,
              .all_box = IDC_CHOICE_ALL,
              .initial_focus = IDC_CHOICE_DELETE,
              .first_button = IDC_CHOICE_DOWNLOAD_AGAIN,
              .first_answer = answer::kDownloadAgain,
              .second_button = IDC_CHOICE_DELETE,
              .second_answer = answer::kDeleteOnServer,
              .cancel_writes_zero = false,
              .warning_icon = true};
    case ChoiceQuestion::kDeletedOnServer:
    default:
      return {.dialog = IDD_CHOICE_DELETED_ON_SERVER,
              .name_label = IDC_CHOICE_SERVER_NAME,
              .all_box = IDC_CHOICE_ALL,
              .initial_focus = IDC_CHOICE_DELETE,
              .first_button = IDC_CHOICE_UPLOAD_AGAIN,
              .first_answer = answer::kUploadAgain,
              .second_button = IDC_CHOICE_DELETE,
              .second_answer = answer::kDeleteLocally,
              // The requester may not have cleared the word: this dialog's cancel always did.
              .cancel_writes_zero = true,
              .warning_icon = true};
  }
}

struct ChoiceRun {
  ChoiceLayout layout;
  std::string shown_name;
  uint32_t* answer;
};

INT_PTR CALLBACK ChoiceProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* run = reinterpret_cast<ChoiceRun*>(GetWindowLongPtrA(dialog, DWLP_USER));
  switch (message) {
    case WM_INITDIALOG: {
      run = reinterpret_cast<ChoiceRun*>(lparam);
      SetWindowLongPtrA(dialog, DWLP_USER, lparam);
      SetDlgItemTextA(dialog, run->layout.name_label, run->shown_name.c_str());
      if (run->layout.warning_icon)
        SendDlgItemMessageA(dialog, IDC_WARNING_ICON, STM_SETICON,
                            reinterpret_cast<WPARAM>(LoadIconA(nullptr, IDI_WARNING)), 0);
      // Moves the default button along with the focus.
      SendMessageA(dialog, WM_NEXTDLGCTL,
                   reinterpret_cast<WPARAM>(GetDlgItem(dialog, run->layout.initial_focus)), TRUE);
      return FALSE;
    }
    case WM_COMMAND: {
      if (!run) break;
      const int id = LOWORD(wparam);
      if (id == IDCANCEL) {
        if (run->answer && run->layout.cancel_writes_zero) *run->answer = answer::kCancel;
        EndDialog(dialog, IDCANCEL);
        return TRUE;
      }
      if (id != run->layout.first_button && id != run->layout.second_button) break;
      if (run->answer) {
        const bool all = IsDlgButtonChecked(dialog, run->layout.all_box) == BST_CHECKED;
        const uint32_t one =
            id == run->layout.first_button ? run->layout.first_answer : run->layout.second_answer;
        *run->answer = all ? one + 1 : one;
      }
      EndDialog(dialog, IDOK);
      return TRUE;
    }
  }
  return FALSE;
}

}  // namespace

void RunChoiceDialog(HWND owner, ChoiceQuestion question, const std::string& name,
                     uint32_t* answer) {
  ChoiceRun run{LayoutOf(question), ChoiceDisplayName(name), answer};
  DialogBoxParamA(OwnModule(), MAKEINTRESOURCEA(run.layout.dialog), owner, ChoiceProc,
                  reinterpret_cast<LPARAM>(&run));
}

uint32_t ModalChoicePrompt::Ask(ChoiceQuestion question, const std::string& name) {
  uint32_t answer = answer::kCancel;
  RunChoiceDialog(owner_, question, name, &answer);
  return answer;
}

}  // namespace qbrk
