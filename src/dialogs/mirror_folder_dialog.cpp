#include "dialogs/mirror_folder_dialog.h"

#include <string>
#include <vector>

#include "dialogs/modal_dialog.h"
#include "dialogs/report_error.h"
#include "resource_ids.h"
#include "settings/settings.h"
#include "shell/folder_picker.h"
#include "shell/shell_helpers.h"

namespace qbrk {

namespace {

constexpr char kBrowsePrompt[] = "同期対象フォルダを選択してください。";

struct MirrorDialogState {
  Env& env;
  MirrorDialogMode mode;
  std::string current;  // the mirror folder the dialog opened with
};

std::string EditText(HWND dialog) {
  HWND edit = GetDlgItem(dialog, IDC_MIRROR_PATH);
  const int length = GetWindowTextLengthA(edit);
  std::vector<char> text(static_cast<size_t>(length > 0 ? length : 0) + 1, '\0');
  GetWindowTextA(edit, text.data(), static_cast<int>(text.size()));
  return text.data();
}

// The browser starts at the folder in the edit box; its prompt names the current mirror
// folder the way Explorer shows it, so the user sees which folder is being replaced.
void Browse(HWND dialog, MirrorDialogState& state) {
  std::string prompt = kBrowsePrompt;
  std::string shown_name;
  if (ShellDisplayName(state.current, &shown_name)) prompt += "\n(現在: " + shown_name + ")";
  std::string chosen;
  if (BrowseForFolder(dialog, prompt, /*root=*/"", EditText(dialog), &chosen))
    SetDlgItemTextA(dialog, IDC_MIRROR_PATH, chosen.c_str());
}

void RestoreDefault(HWND dialog, MirrorDialogState& state) {
  std::string path;
  if (DefaultMirrorPath(state.env.shell, &path))
    SetDlgItemTextA(dialog, IDC_MIRROR_PATH, path.c_str());
}

void Accept(HWND dialog, MirrorDialogState& state) {
  const MirrorChange change =
      ApplyMirrorFolderChange(state.env, state.mode, state.current, EditText(dialog));
  if (change.outcome == MirrorChange::Outcome::kRejected) {
    ReportError(state.env, change.error, "", 0, dialog);
    SetFocus(GetDlgItem(dialog, IDC_MIRROR_PATH));
    return;
  }
  EndDialog(dialog, IDOK);
}

struct MirrorFolderDialog {
  using State = MirrorDialogState;

  static INT_PTR Initialise(HWND dialog, MirrorDialogState& state) {
    SetDlgItemTextA(dialog, IDC_MIRROR_PATH, InitialMirrorPath(state.env).c_str());
    // Copying the old folder's content comes with the maintenance commands; until then the
    // box cannot promise it.
    CheckDlgButton(dialog, IDC_MIRROR_COPY, BST_UNCHECKED);
    EnableWindow(GetDlgItem(dialog, IDC_MIRROR_COPY), FALSE);
    return TRUE;
  }

  static bool Clicked(HWND dialog, MirrorDialogState& state, int id) {
    switch (id) {
      case IDOK:
        Accept(dialog, state);
        return true;
      case IDC_MIRROR_BROWSE:
        Browse(dialog, state);
        return true;
      case IDC_MIRROR_DEFAULT:
        RestoreDefault(dialog, state);
        return true;
    }
    return false;
  }
};

}  // namespace

uint32_t RunMirrorFolderDialog(Env& env, HWND owner, MirrorDialogMode mode) {
  try {
    Settings settings(env.registry);
    MirrorDialogState state{env, mode, {}};
    settings.ReadMirror(&state.current);
    return RunModalDialog<MirrorFolderDialog>(owner, IDD_MIRROR_FOLDER, &state) == IDOK ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

}  // namespace qbrk
